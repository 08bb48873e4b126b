#include "platform/drivers/jack/client.h"

#include <jack/jack.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "platform/drivers/jack/opened_descriptors.h"
#include "platform/drivers/jack/uncancelled.h"

namespace drivers::jack {
namespace {

using namespace std::chrono_literals;

// The library would write to the program's standard error.
void beSilent(const char* /*text*/) {}

std::string nameOf(jack_client_t* client, jack_port_id_t id) {
  const jack_port_t* port = jack_port_by_id(client, id);
  const char* name = port == nullptr ? nullptr : jack_port_name(port);
  return name == nullptr ? std::string() : std::string(name);
}

// A killed server leaves its clients' semaphores behind. The next client with the same name would reuse one with the
// count left in it. So each of our clients gets a new name.
std::string freshName() {
  static std::atomic<unsigned> opened{0};
  const unsigned number = ++opened;
  const std::string name = "flowscope-" + std::to_string(getpid());
  return number == 1 ? name : name + "-" + std::to_string(number);
}

std::string problem(jack_status_t status) {
  if ((status & JackServerFailed) != 0) return "no JACK server is running";
  if ((status & JackVersionError) != 0) return "the JACK server uses another protocol version";
  return "the JACK server refuses the connection";
}

}  // namespace

std::variant<std::unique_ptr<Client>, std::string> Client::open(std::shared_ptr<sys::EventDescriptor> wakeup) {
  jack_set_error_function(beSilent);
  jack_set_info_function(beSilent);
  // The constructor is private.
  std::unique_ptr<Client> opened(new Client(std::move(wakeup)));
  auto status = static_cast<jack_status_t>(0);
  const std::string name = freshName();
  const OpenedDescriptors descriptors;
  opened->client_ = jack_client_open(name.c_str(), JackNoStartServer, &status);
  if (opened->client_ == nullptr) return problem(status);
  opened->prefix_ = std::string(jack_get_client_name(opened->client_)) + ":";
  const bool active = opened->activate();
  descriptors.keepToOurselves();
  if (!active) return std::string("the JACK server does not activate our client");
  return opened;
}

Client::~Client() {
  if (client_ != nullptr) jack_client_close(client_);
}

bool Client::activate() {
  jack_on_info_shutdown(
      client_,
      [](jack_status_t, const char*, void* self) {
        uncancelled([=] { static_cast<Client*>(self)->tell({Change::Kind::Ended}); });
      },
      this);
  const auto portsChanged = [](jack_port_id_t, int, void* self) {
    uncancelled([=] { static_cast<Client*>(self)->tell({Change::Kind::Ports}); });
  };
  const auto clientsChanged = [](const char* name, int came, void* self) {
    uncancelled([=] {
      static_cast<Client*>(self)->tell({came != 0 ? Change::Kind::ClientCame : Change::Kind::ClientLeft, name});
    });
  };
  const auto renamed = [](jack_port_id_t, const char*, const char*, void* self) {
    uncancelled([=] { static_cast<Client*>(self)->tell({Change::Kind::Renamed}); });
  };
  // Reads the names here, because another port may soon have the same number.
  const auto connected = [](jack_port_id_t from, jack_port_id_t to, int made, void* self) {
    uncancelled([=] {
      auto* client = static_cast<Client*>(self);
      client->tell({made != 0 ? Change::Kind::Connected : Change::Kind::Disconnected, nameOf(client->client_, from),
                    nameOf(client->client_, to)});
    });
  };
  const auto process = [](jack_nframes_t frames, void* self) {
    uncancelled([=] { static_cast<Client*>(self)->process(frames); });
    return 0;
  };
  return jack_set_port_registration_callback(client_, portsChanged, this) == 0 &&
         jack_set_client_registration_callback(client_, clientsChanged, this) == 0 &&
         jack_set_port_rename_callback(client_, renamed, this) == 0 &&
         jack_set_port_connect_callback(client_, connected, this) == 0 &&
         jack_set_process_callback(client_, process, this) == 0 && jack_activate(client_) == 0;
}

void Client::process(jack_nframes_t frames) {
  const jack_nframes_t begin = jack_last_frame_time(client_);
  // JACK calls a late client once more in the period that has begun meanwhile; the buffers then hold what the client
  // has already read and written.
  const auto ahead = static_cast<std::int32_t>(begin - next_.value_or(begin));
  if (ahead < 0) return;
  next_ = begin + frames;
  periods_.fetch_add(1, std::memory_order_relaxed);
  bool wakes = false;
  if (ahead > 0) {
    skipped_.fetch_add((static_cast<jack_nframes_t>(ahead) + frames - 1) / frames);
    wakes = true;
  }
  gate_.enter();
  wakes |= input_.process(frames);
  output_.process(frames);
  gate_.leave();
  if (jack_last_frame_time(client_) != begin) {
    // The next period has begun meanwhile, so it is unknown what the buffers held.
    skipped_.fetch_add(1);
    wakes = true;
  }
  if (wakes) wakeup_->wake();
}

void Client::tell(Change change) {
  changes_.add(std::move(change));
  wakeup_->wake();
}

std::chrono::nanoseconds Client::period() const {
  const auto rate = std::max<jack_nframes_t>(jack_get_sample_rate(client_), 1);
  return std::chrono::nanoseconds(1s) * jack_get_buffer_size(client_) / rate;
}

}  // namespace drivers::jack
