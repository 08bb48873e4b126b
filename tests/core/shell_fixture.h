// Shells with a memory stream behind them, for the tests of this room.
#pragma once

#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "core/shell_io.h"
#include "core/stat_base.h"
#include "evtsrv.h"
#include "tests/support/fakes.h"
#include "tests/support/memory_stream.h"

namespace flowscope::test {

// The embedded built-in device, and what a quiet shell needs.
struct Surroundings {
  Surroundings() { ::setenv("EVTSRV_ENDPOINT", "embedded:", 1); }

  MemoryStream out;
  FixedSize size;
  ScriptedKeys keys;
  RecordedCommands system;
  ShellIo io{out.stream(), size, keys, system};
};

// A quiet shell that writes down each operation called, as "onLs 5 a -" with "-" for a null word, and answers what
// the test asks for.
class RecordingShell : public StatBase {
 public:
  RecordingShell(EvtSrv::EventPortManager& manager, ShellIo& io) : StatBase(manager, true, io) {}

  std::vector<std::string> calls;
  ResultCode answer = ResultOk;
  std::function<void()> during;  // called inside each operation

  ResultCode onLs(Options o, const char* a) override { return note("onLs", {number(o), word(a)}); }
  ResultCode onCd(const char* a) override { return note("onCd", {word(a)}); }
  ResultCode onSet(Options o, const char* a, const char* b) override {
    return note("onSet", {number(o), word(a), word(b)});
  }
  ResultCode onStr(const char* a, const char* b) override { return note("onStr", {word(a), word(b)}); }
  ResultCode onGet(const char* a) override { return note("onGet", {word(a)}); }
  ResultCode onEu(Options o, const char* a) override { return note("onEu", {number(o), word(a)}); }
  ResultCode onDu(const char* a) override { return note("onDu", {word(a)}); }
  ResultCode onConvert(const char* a, const char* b) override { return note("onConvert", {word(a), word(b)}); }
  ResultCode onFrom(const char* a, const char* b) override { return note("onFrom", {word(a), word(b)}); }
  ResultCode onTo(const char* a, const char* b) override { return note("onTo", {word(a), word(b)}); }
  ResultCode onCat(Options o, const char* a) override { return note("onCat", {number(o), word(a)}); }
  ResultCode onCon(const char* a, const char* b) override { return note("onCon", {word(a), word(b)}); }
  ResultCode onDis(const char* a, const char* b) override { return note("onDis", {word(a), word(b)}); }
  ResultCode onLoad(const char* a) override { return note("onLoad", {word(a)}); }
  ResultCode onSave(const char* a) override { return note("onSave", {word(a)}); }
  ResultCode onRn(const char* a, const char* b) override { return note("onRn", {word(a), word(b)}); }
  ResultCode onRm(const char* a) override { return note("onRm", {word(a)}); }
  ResultCode onMkdir(const char* a) override { return note("onMkdir", {word(a)}); }
  ResultCode onTab(const char* a, const char* b) override { return note("onTab", {word(a), word(b)}); }
  ResultCode onExit() override { return note("onExit", {}); }
  ResultCode onEnd() override { return note("onEnd", {}); }
  ResultCode onTerminate() override { return note("onTerminate", {}); }
  ResultCode onBt(Options o, const char* a) override { return note("onBt", {number(o), word(a)}); }
  ResultCode onHelp() override { return note("onHelp", {}); }
  ResultCode onOther(const char* w, const char* a, const char* b) override {
    return note("onOther", {word(w), word(a), word(b)});
  }

  using StatBase::setPath;

 private:
  static std::string number(Options options) { return std::to_string(options); }
  static std::string word(const char* text) { return text == nullptr ? "-" : "[" + std::string(text) + "]"; }

  ResultCode note(std::string call, const std::vector<std::string>& words) {
    for (const auto& text : words) call += " " + text;
    calls.push_back(std::move(call));
    if (during) during();
    return answer;
  }
};

}  // namespace flowscope::test
