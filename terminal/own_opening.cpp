#include "terminal/own_opening.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace flowscope {

Behind whatIsBehind(int descriptor) noexcept {
  if (isatty(descriptor) == 1) return Behind::Terminal;
  struct stat status {};
  if (fstat(descriptor, &status) != 0) return Behind::Other;
  if (S_ISFIFO(status.st_mode)) return Behind::Pipe;
  return S_ISSOCK(status.st_mode) ? Behind::Socket : Behind::Other;
}

int openAgain(int descriptor) noexcept {
  constexpr std::string_view Folder = "/proc/self/fd/";
  std::array<char, 32> path{};
  std::copy(Folder.begin(), Folder.end(), path.begin());
  std::size_t end = Folder.size() + 1;
  for (int rest = descriptor; rest >= 10; rest /= 10) ++end;
  for (; end > Folder.size(); descriptor /= 10) path.at(--end) = static_cast<char>('0' + descriptor % 10);
  return open(path.data(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
}

}  // namespace flowscope
