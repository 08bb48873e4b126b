// A device's groups, ports and connections, as text and as JSON.
#pragma once

#include <string>

#include "platform/system/text_encoding.h"
#include "platform/wire/messages.h"

namespace streamctl {

// A heading and a line for each port: id and name of its group, its side, its name, its name in the system that it
// comes from (if any port comes from one), and the ports that it is connected to, in the order of making. A side
// without ports has one line, and so has a group without sides. encoding: the reader's encoding.
std::string topologyText(const wire::Topology& topology, const wire::Links& links, const wire::Originals& originals,
                         sys::TextEncoding encoding);

// A JSON document:
//
//   {"groups": [{"id": 0, "name": "Keyboard", "sources": ["KeyboardOut1"], "sinks": null}],
//    "connections": [{"source": "KeyboardOut1", "sink": "SequencerIn1"}]}
//
// A missing side is null. Connections are in the order of making. A group that comes from another system has its name
// there under "original", and those of its ports under "original_sources" and "original_sinks".
std::string topologyJson(const wire::Topology& topology, const wire::Links& links, const wire::Originals& originals);

}  // namespace streamctl
