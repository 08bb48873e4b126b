// A stream for a descriptor that may be non-blocking.
#pragma once

#include <cstdio>

#include "terminal/pending_text.h"

namespace flowscope {

// Returns a stdio stream that writes to the descriptor, buffered like standard output: by lines on a terminal,
// otherwise by blocks. If a non-blocking descriptor has no room, the writing thread blocks until it has, and nothing is
// lost. If a signal ends the program, its handler writes what waits (see PartingText). The descriptor keeps its flags,
// because other processes may share them, and stays open when the stream is closed. Throws std::system_error if there
// is no memory.
//
// The text waits in a place that signal handlers can reach, not in the stream: std::fflush does nothing, call
// flushStream. A write without a reader raises SIGPIPE also on a thread that blocks it, if the signal was not blocked
// when the stream was opened; likewise SIGXFSZ.
std::FILE* openWaitingStream(int descriptor);

// From now on the text of such a stream waits for flushStream on a terminal, too, or until 64 KiB wait. Does nothing
// for other streams.
void holdLines(std::FILE* stream);

// Writes out what waits in the stream; for any stream of stdio. Blocks as its writing does. Any thread.
void flushStream(std::FILE* stream);

// The same for all streams that openWaitingStream has opened.
void flushWaitingStreams();

// Writes what waits in the stream, then the text before the mark, and removes that. No text that others write to the
// stream comes in between. For any stream of stdio; only for one that openWaitingStream has opened a handler that
// interrupts it finds all of the text, and none twice.
void writeThrough(std::FILE* stream, PendingText& text, PendingText::Mark before);

// Returns the descriptor of such a stream; a negative number for another stream.
int descriptorOf(std::FILE* stream);

}  // namespace flowscope
