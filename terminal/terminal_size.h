// How large the terminal is.
#pragma once

namespace flowscope {

class TerminalSize {
 public:
  TerminalSize() = default;
  TerminalSize(const TerminalSize&) = delete;
  TerminalSize& operator=(const TerminalSize&) = delete;
  virtual ~TerminalSize() = default;

  // In character cells, at least 1, asked anew on each call.
  virtual int rows() = 0;
  virtual int columns() = 0;
};

// The terminal behind a descriptor. Where it does not know its size (no terminal, or a serial line that was never
// told), it answers 24 rows and 80 columns.
class DescriptorTerminalSize final : public TerminalSize {
 public:
  // Standard output unless told otherwise. The descriptor is not owned.
  explicit DescriptorTerminalSize(int descriptor = 1) : descriptor_(descriptor) {}

  int rows() override;
  int columns() override;

 private:
  int descriptor_;
};

}  // namespace flowscope
