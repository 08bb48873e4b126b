#include "platform/drivers/alsa/receiver_cells.h"

#include <sound/asequencer.h>
#include <sys/ioctl.h>

#include <algorithm>

namespace drivers::alsa {
namespace {

// Data takes cells of its own behind that of the event, each as large as an event.
constexpr std::size_t CellBytes = sizeof(snd_seq_event);

}  // namespace

std::optional<Cells> cellsOf(int descriptor, int client) {
  // The library can only ask about its own client.
  snd_seq_client_pool pool{};
  pool.client = client;
  if (ioctl(descriptor, SNDRV_SEQ_IOCTL_GET_CLIENT_POOL, &pool) < 0 || pool.input_pool <= 0) return std::nullopt;
  return Cells{pool.input_pool, pool.input_free};
}

int cellsFor(std::size_t bytes) { return 1 + static_cast<int>((bytes + CellBytes - 1) / CellBytes); }

std::size_t bytesIn(int cells) { return static_cast<std::size_t>(std::max(cells - 1, 0)) * CellBytes; }

}  // namespace drivers::alsa
