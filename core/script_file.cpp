#include "core/script_file.h"

#include <cerrno>

namespace flowscope {

ScriptFile::ScriptFile(const std::string& name) : file_(openFile(name.c_str(), "r", KeptFromFilesThatAreClosed)) {
  if (!file_) {
    if (errno == EMFILE) tellDescriptorsAreKept(name.c_str());
    return;
  }
  const int first = std::getc(file_.get());
  if (first != EOF) {
    std::ungetc(first, file_.get());
  } else if (std::ferror(file_.get()) != 0) {
    file_.reset();
  }
}

const char* ScriptFile::nextLine() {
  std::size_t length = 0;
  while (!failed_) {
    const int byte = std::getc(file_.get());
    if (byte == EOF || byte == '\n') break;
    if (length == LineSize - 1) {
      failed_ = true;
      break;
    }
    line_.at(length++) = static_cast<char>(byte);
  }
  line_.at(length) = '\0';
  return line_.data();
}

}  // namespace flowscope
