// The size of the terminal.
#pragma once

namespace flowscope {

class TerminalSize {
 public:
  TerminalSize() = default;
  TerminalSize(const TerminalSize&) = delete;
  TerminalSize& operator=(const TerminalSize&) = delete;
  virtual ~TerminalSize() = default;

  // In character cells, at least 1. Each call reads the current size.
  virtual int rows() = 0;
  virtual int columns() = 0;
};

// The terminal behind a descriptor. If its size is unknown (no terminal, or a serial line without a configured size),
// it returns 24 rows and 80 columns.
class DescriptorTerminalSize final : public TerminalSize {
 public:
  // The default is standard output. The descriptor is not owned.
  explicit DescriptorTerminalSize(int descriptor = 1) : descriptor_(descriptor) {}

  int rows() override;
  int columns() override;

 private:
  int descriptor_;
};

}  // namespace flowscope
