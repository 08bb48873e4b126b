// A host's counts as a message.
#pragma once

#include "platform/host/session_table.h"
#include "platform/host/settings.h"
#include "platform/service/service.h"
#include "platform/wire/messages.h"

namespace host {

wire::Stats statsMessage(const service::Service& service, const SessionTable& sessions, const Settings& settings);

}  // namespace host
