// The generic interactive shell.
#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/shell_io.h"
#include "evtsrv.h"
#include "terminal/console_output.h"
#include "terminal/editor_host.h"
#include "terminal/line_editor.h"
#include "terminal/result_code.h"
#include "topology/option_bits.h"
#include "topology/topology_node.h"

namespace flowscope {

// Owns the line editor with its input thread, the output object, the path that the prompt shows and a few settings, and
// declares one virtual operation for each command. The operations here do nothing and return ResultSilent; a concrete
// shell overrides those that it implements. Word arguments are null if they were not given.
class StatBase : public EditorHost {
 public:
  // A quiet shell writes plain text and touches neither the terminal nor the keyboard. Any other shell puts the
  // terminal into raw mode, starts the input thread (which handles no key before openInput) and draws the first prompt.
  // The new shell becomes the current one. manager and io must outlive the shell.
  StatBase(EvtSrv::EventPortManager& manager, bool quiet, ShellIo& io);
  StatBase(const StatBase&) = delete;
  StatBase& operator=(const StatBase&) = delete;

  // Restores the terminal, unless quiet. The input thread must have finished its last command (see waitForInput).
  ~StatBase() override;

  // Command operations; see command_table.h.
  virtual ResultCode onLs(Options options, const char* path);
  virtual ResultCode onCd(const char* path);
  virtual ResultCode onSet(Options options, const char* first, const char* second);
  virtual ResultCode onStr(const char* first, const char* second);
  virtual ResultCode onGet(const char* first);
  virtual ResultCode onEu(Options options, const char* first);
  virtual ResultCode onDu(const char* first);
  virtual ResultCode onConvert(const char* first, const char* second);
  virtual ResultCode onFrom(const char* first, const char* second);
  virtual ResultCode onTo(const char* first, const char* second);
  virtual ResultCode onCat(Options options, const char* first);
  virtual ResultCode onCon(const char* first, const char* second);
  virtual ResultCode onDis(const char* first, const char* second);
  virtual ResultCode onLoad(const char* first);
  virtual ResultCode onSave(const char* first);
  virtual ResultCode onRn(const char* first, const char* second);
  virtual ResultCode onRm(const char* first);
  virtual ResultCode onMkdir(const char* first);
  virtual ResultCode onTab(const char* word, const char* argument);
  virtual ResultCode onExit();
  virtual ResultCode onEnd();
  virtual ResultCode onTerminate();
  virtual ResultCode onBt(Options options, const char* first);
  virtual ResultCode onHelp();
  virtual ResultCode onOther(const char* word, const char* first, const char* second);

  // Returns the shell that was constructed last; null before the first. Dangles after that shell is destroyed.
  static StatBase* current();

  bool isRunning() const { return running_; }

  // Sets the flag for the event loop, the line editor and the input thread at once. Any thread may call it.
  void setRunning(bool running);

  // Lets the input thread handle keys from now on.
  void openInput();

  // Blocks until the input thread has ended; returns at once in a quiet shell.
  void waitForInput();

  ConsoleOutput& output() { return output_; }
  LineEditor& lineEditor() { return lineEditor_; }
  EvtSrv::EventPortManager& manager() { return manager_; }
  SystemCommands& system() { return io_.system; }
  bool isQuiet() const { return quiet_; }

  // The path that the prompt and the "pwd" command show, one element per level; empty is the root.
  const std::vector<std::string>& path() const { return path_; }

  // Sets the label in front of the path in the prompt, and draws the prompt again at once.
  void setPromptLabel(const std::string& label);

  // Returns the label, one blank, and the last element of the path or "/".
  std::string promptText() override;

  // The three values of the last "setport" command.
  const std::array<std::string, 3>& portSettings() const { return portSettings_; }
  void setPortSettings(std::array<std::string, 3> settings) { portSettings_ = std::move(settings); }

  // The current nesting depth of scripts.
  int& scriptDepth() { return scriptDepth_; }

  // Runs a finished line of the line editor on the current shell.
  ResultCode runEditedLine(const std::string& line) override;

  // Stops the shell: the keyboard input has ended.
  void inputEnded() override;

 protected:
  // The root of the tree of names; created without a name and without children.
  TopologyNode& topologyTree() { return *tree_; }
  void setPath(std::vector<std::string> path) { path_ = std::move(path); }

 private:
  EvtSrv::EventPortManager& manager_;
  ShellIo& io_;
  std::atomic<bool> running_{true};
  LineEditor lineEditor_;
  ConsoleOutput output_;
  bool quiet_;
  std::vector<std::string> path_;
  std::string promptLabel_;
  std::array<std::string, 3> portSettings_;
  int scriptDepth_ = 0;
  std::unique_ptr<TopologyNode> tree_;
};

}  // namespace flowscope
