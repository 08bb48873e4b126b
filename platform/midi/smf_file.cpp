#include "platform/midi/smf_file.h"

// libsmf includes glib inside of extern "C", which C++ must have seen before.
#include <glib.h>
#include <smf.h>

#include <climits>
#include <memory>
#include <mutex>
#include <optional>

#include "platform/drivers/midi_bytes.h"
#include "platform/drivers/read_file.h"
#include "platform/drivers/tempo_map.h"
#include "platform/midi/smf_plain.h"

namespace service {
namespace {

constexpr std::size_t MaxFileBytes = 64U << 20U;

struct SmfDeleter {
  void operator()(smf_t* smf) const { smf_delete(smf); }
};
using Smf = std::unique_ptr<smf_t, SmfDeleter>;

// Keeps what libsmf says from standard error while it lives, and remembers the first line of it.
class SmfMessages {
 public:
  SmfMessages() : handler_(g_log_set_handler("libsmf", AllLevels, &SmfMessages::remember, this)) {}
  SmfMessages(const SmfMessages&) = delete;
  SmfMessages& operator=(const SmfMessages&) = delete;
  ~SmfMessages() { g_log_remove_handler("libsmf", handler_); }

  const std::string& first() const { return first_; }

 private:
  static constexpr auto AllLevels =
      static_cast<GLogLevelFlags>(G_LOG_LEVEL_MASK | G_LOG_FLAG_FATAL | G_LOG_FLAG_RECURSION);

  static void remember(const gchar* /*domain*/, GLogLevelFlags level, const gchar* text, gpointer self) {
    auto& messages = *static_cast<SmfMessages*>(self);
    const bool matters = (level & (G_LOG_LEVEL_ERROR | G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING)) != 0;
    if (matters && messages.first_.empty()) messages.first_ = text;
  }

  std::string first_;
  guint handler_;
};

ScoreEvent toScoreEvent(std::span<const std::uint8_t> bytes, Time time) {
  ScoreEvent event{time, 0, {bytes.begin(), bytes.end()}};
  if (isChannelStatus(event.bytes.front())) {
    event.group = event.bytes.front() & 0x0FU;
    event.bytes.front() &= 0xF0U;
  }
  return event;
}

}  // namespace

std::variant<Score, std::string> parseSmf(std::span<const std::uint8_t> file) {
  auto made = makePlainSmf(file);
  if (const auto* problem = std::get_if<SmfProblem>(&made)) {
    return problem->cause + " (at byte " + std::to_string(problem->offset) + ")";
  }
  auto& plain = std::get<PlainSmf>(made);

  if (plain.file.size() > INT_MAX) return "too large";

  // glib has one handler of messages in a process.
  static std::mutex oneAtATime;
  const std::lock_guard lock(oneAtATime);
  const SmfMessages messages;
  const Smf smf(smf_load_from_memory(plain.file.data(), static_cast<int>(plain.file.size())));
  if (!smf || !messages.first().empty()) return "libsmf: " + messages.first();

  const TempoMap tempo(plain.base, std::move(plain.tempo));
  const auto length = tempo.at(static_cast<std::uint32_t>(smf_get_length_pulses(smf.get())));
  if (!length) return "longer than a year";
  Score score;
  score.length = *length;
  smf_rewind(smf.get());
  while (const smf_event_t* event = smf_get_next_event(smf.get())) {
    if (smf_event_is_metadata(event) != 0) continue;
    const auto time = tempo.at(static_cast<std::uint32_t>(event->time_pulses));
    const std::span bytes(event->midi_buffer, static_cast<std::size_t>(event->midi_buffer_length));
    score.events.push_back(toScoreEvent(bytes, *time));
  }
  return score;
}

std::variant<Score, std::string> loadSmf(const std::filesystem::path& path) {
  const auto read = readFile(path, MaxFileBytes);
  if (const auto* cause = std::get_if<std::string>(&read)) return *cause;
  return parseSmf(std::get<std::vector<std::uint8_t>>(read));
}

}  // namespace service
