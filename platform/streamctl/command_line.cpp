#include "platform/streamctl/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/midi/message_filter.h"
#include "platform/midi/player.h"
#include "platform/streamctl/byte_word.h"
#include "platform/system/printable.h"
#include "platform/wire/messages.h"

namespace streamctl {
namespace {

// An option with one number for which allowed is true; rule says in words which numbers those are.
template <class Number, class Allowed, class Target>
CLI::Option* addNumber(CLI::App& app, const std::string& name, Target& target, Allowed allowed, const std::string& rule,
                       const std::string& help) {
  const auto take = [&target, allowed, rule, name](const CLI::results_t& words) {
    const auto number = parseNumber<Number>(words.front());
    if (!number || !allowed(*number)) throw CLI::ValidationError(name, "'" + words.front() + "' is not " + rule);
    target = *number;
    return true;
  };
  return app.add_option(name, take, help);
}

void addBytes(CLI::App& app, std::vector<std::uint8_t>& target) {
  const auto take = [&target](const CLI::results_t& words) {
    for (const std::string& word : words) {
      const auto byte = parseByte(word);
      if (!byte) throw CLI::ValidationError("BYTE", "'" + word + "' is not a byte (0 to 255, or 0x00 to 0xFF)");
      target.push_back(*byte);
    }
    if (target.size() > device::MaxMessageBytes) {
      throw CLI::ValidationError("BYTE", "a message has at most " + std::to_string(device::MaxMessageBytes) + " bytes");
    }
    return true;
  };
  app.add_option("BYTE", take, "Bytes of the message; bare numbers are decimal, 0x marks hexadecimal ones")
      ->type_name("")
      ->expected(1, -1)
      ->allow_extra_args()
      ->required();
}

// An option whose word parse turns into a value, or into a line that says what is wrong with it.
template <class Target, class Parse>
CLI::Option* addParsed(CLI::App& app, const std::string& name, Target& target, Parse parse, const std::string& help) {
  const auto take = [&target, parse, name](const CLI::results_t& words) {
    auto parsed = parse(words.front());
    if (const auto* problem = std::get_if<std::string>(&parsed)) throw CLI::ValidationError(name, *problem);
    target = std::get<0>(parsed);
    return true;
  };
  return app.add_option(name, take, help);
}

std::variant<TimeForm, std::string> parseTimeForm(const std::string& word) {
  if (word == "wall") return TimeForm::Wall;
  if (word == "delta") return TimeForm::Delta;
  if (word == "start") return TimeForm::Start;
  if (word == "none") return TimeForm::None;
  return "'" + word + "' is not wall, delta, start or none";
}

// The commands during parsing.
struct Draft {
  ListCommand list;
  InjectCommand inject;
  PlayCommand play;
  WatchCommand watch;
  bool watchNoClock = false;
  StatsCommand stats;
};

void addInject(CLI::App& app, InjectCommand& inject) {
  CLI::App& sub = *app.add_subcommand("inject", "Send a message through a port");
  sub.add_option("PORT", inject.port, "Port name")->type_name("")->required();
  addBytes(sub, inject.message);
  addNumber<std::uint16_t>(
      sub, "--group", inject.group, [](std::uint16_t) { return true; }, "a group id (0 to 65535)",
      "Group id of the message; stands for the MIDI channel (default 0)")
      ->type_name("N");
  addNumber<std::uint64_t>(
      sub, "--count", inject.count, [](std::uint64_t count) { return count > 0; }, "a whole number above 0",
      "Number of times to send it (default 1)")
      ->type_name("K");
  addNumber<double>(
      sub, "--rate", inject.perSecond, [](double rate) { return std::isfinite(rate) && rate > 0; }, "a number above 0",
      "Messages per second (default: as fast as the service accepts them)")
      ->type_name("PER_SECOND");
}

void addPlay(CLI::App& app, PlayCommand& play) {
  CLI::App& sub = *app.add_subcommand("play", "Play a Standard MIDI File through a port");
  sub.add_option("FILE", play.file, "Standard MIDI File")->type_name("")->required();
  sub.add_option("PORT", play.port, "Port name")->type_name("")->required();
  sub.add_flag("--loop", play.loop, "Repeat until a signal arrives");
  addNumber<double>(
      sub, "--speed", play.speed,
      [](double speed) { return speed == 0 || (speed >= midi::MinSpeed && speed <= midi::MaxSpeed); },
      "a speed (0.01 to 1000, or 0)", "Speed factor (default 1); 0 plays without pauses")
      ->type_name("X");
}

void addWatch(CLI::App& app, Draft& draft) {
  LineStyle& lines = draft.watch.lines;
  CLI::App& sub = *app.add_subcommand("watch", "Print each message that passes the given ports");
  sub.add_option("PORT", draft.watch.ports, "Port names")->type_name("")->required();
  sub.add_flag("--json", draft.watch.json, "Print a JSON object for each message");
  sub.add_flag("--decode", lines.decode, "Print what the messages mean instead of their bytes");
  addParsed(sub, "--time", lines.time, parseTimeForm,
            "wall: time of day; delta: since the line before; start: since the first line; none (default: the "
            "service's clock)")
      ->type_name("FORM");
  addParsed(sub, "--type", lines.filter.types, midi::parseTypes,
            "Only messages of these types, separated by commas: " + CLI::detail::join(midi::MessageTypeWords, ", "))
      ->type_name("TYPE,...");
  sub.add_flag("--no-clock", draft.watchNoClock, "No messages of MIDI clocks");
  addParsed(sub, "--channel", lines.filter.channels, midi::parseChannels,
            "Only channel messages of these channels, such as 1-4,10; a channel is a group id plus 1")
      ->type_name("N,...");
}

// Puts together what watch prints. Throws if that is nothing.
void finishWatch(Draft& draft) {
  LineStyle& lines = draft.watch.lines;
  if (draft.watchNoClock) lines.filter.types.reset(static_cast<std::size_t>(midi::MessageType::Clock));
  if (lines.filter.types.none()) throw CLI::ValidationError("--no-clock", "leaves nothing of --type clock");
}

// The caller finds out which command was given and reads its part of draft.
void addCommands(CLI::App& app, Draft& draft) {
  CLI::App& list = *app.add_subcommand("list", "Show groups, ports and connections");
  list.add_flag("--json", draft.list.json, "Print a JSON document");
  addInject(app, draft.inject);
  addPlay(app, draft.play);
  addWatch(app, draft);
  CLI::App& stats = *app.add_subcommand("stats", "Show clients, counts of messages, and queues");
  stats.add_flag("--json", draft.stats.json, "Print a JSON document");
}

std::vector<std::string> namesOfCommands(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* sub : app.get_subcommands([](const CLI::App*) { return true; })) {
    names.push_back(sub->get_name());
  }
  return names;
}

// Whether "--endpoint=" is among the options. CLI11 takes the next word for the missing value.
bool hasEmptyEndpoint(const std::vector<std::string>& words) {
  const auto end = std::ranges::find(words, "--");
  return std::find(words.begin(), end, "--endpoint=") != end;
}

// The word in the place of the command; nullopt if there is none.
std::optional<std::string> wordForCommand(const std::vector<std::string>& words) {
  for (auto at = words.begin(); at != words.end(); ++at) {
    if (!at->starts_with('-')) return *at;
    // The next word is the option's value.
    if (*at == "--endpoint" && ++at == words.end()) break;
  }
  return std::nullopt;
}

// The message for a command line that cannot be parsed.
std::string problemOf(const CLI::App& app, const std::vector<std::string>& words, const CLI::ParseError& wrong) {
  const auto word = wordForCommand(words);
  const std::vector<std::string> names = namesOfCommands(app);
  if (!word && wrong.get_name() == "RequiredError") return "a command is required: " + CLI::detail::join(names, ", ");
  if (!word || std::ranges::find(names, *word) != names.end()) return sys::printable(wrong.what());
  return "no such command: " + sys::printable(*word) + "; the commands are " + CLI::detail::join(names, ", ");
}

Command chosen(const CLI::App& app, Draft draft) {
  if (app.got_subcommand("list")) return draft.list;
  if (app.got_subcommand("inject")) return std::move(draft.inject);
  if (app.got_subcommand("play")) return std::move(draft.play);
  if (app.got_subcommand("watch")) return std::move(draft.watch);
  return draft.stats;
}

}  // namespace

std::variant<CommandLine, Saying> parseCommandLine(const std::vector<std::string>& words) {
  CLI::App app("Controls the MIDI stream service: shows its ports, sends through them, and watches them.", "streamctl");
  Draft draft;
  std::string endpoint;
  const auto* const given =
      app.add_option(
             "--endpoint", endpoint,
             "Endpoint of the service; default: EVTSRV_ENDPOINT, else the service that flowscope would use (stats: the "
             "well-known local socket)")
          ->type_name("E");
  app.set_version_flag("--version", FLOWSCOPE_VERSION);
  app.require_subcommand(1);
  app.fallthrough();
  addCommands(app, draft);
  for (CLI::App* sub : app.get_subcommands([](const CLI::App*) { return true; })) sub->fallthrough();
  const std::string noEndpoint = "is empty; give ipc://PATH or embedded:FILE";
  try {
    if (hasEmptyEndpoint(words)) throw CLI::ValidationError("--endpoint", noEndpoint);
    app.parse(std::vector<std::string>(words.rbegin(), words.rend()));  // the library expects reverse order
    if (given->count() > 0 && endpoint.empty()) throw CLI::ValidationError("--endpoint", noEndpoint);
    finishWatch(draft);
  } catch (const CLI::CallForHelp&) {
    return Saying{false, app.help()};
  } catch (const CLI::CallForVersion& version) {
    return Saying{false, std::string(version.what()) + '\n'};
  } catch (const CLI::ParseError& wrong) {
    return Saying{true, problemOf(app, words, wrong) + " (see --help)"};
  }
  CommandLine line{std::nullopt, chosen(app, std::move(draft))};
  if (given->count() > 0) line.endpoint = std::move(endpoint);
  return line;
}

}  // namespace streamctl
