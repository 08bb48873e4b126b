// A device's groups, ports and connections, for people and for programs.
#pragma once

#include <string>

#include "platform/system/text_encoding.h"
#include "platform/wire/messages.h"

namespace streamctl {

// A line for each port under a line of headings: id and name of its group, its side, its name, what it is called in the
// system that it comes from (when any comes from one), and the ports that it is connected to, in the order of making. A
// side without ports has one line, and so has a group without sides. encoding: of who reads it.
std::string topologyText(const wire::Topology& topology, const wire::Links& links, const wire::Originals& originals,
                         sys::TextEncoding encoding);

// A JSON document:
//
//   {"groups": [{"id": 0, "name": "Keyboard", "sources": ["KeyboardOut1"], "sinks": null}],
//    "connections": [{"source": "KeyboardOut1", "sink": "SequencerIn1"}]}
//
// A side that is not there is null. Connections are in the order of making. A group that comes from another system has
// its name there under "original", and those of its ports under "original_sources" and "original_sinks".
std::string topologyJson(const wire::Topology& topology, const wire::Links& links, const wire::Originals& originals);

}  // namespace streamctl
