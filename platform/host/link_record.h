// A connection in the form in which it travels.
#pragma once

#include "platform/drivers/port.h"
#include "platform/wire/messages.h"

namespace host {

inline wire::LinkRecord linkRecord(const service::Link& link) {
  return {link.sourceGroup, link.sourceIndex, link.sinkGroup, link.sinkIndex};
}

}  // namespace host
