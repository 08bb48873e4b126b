// What a host has counted, in the form in which it travels.
#pragma once

#include "platform/host/limits.h"
#include "platform/host/session_table.h"
#include "platform/service/service.h"
#include "platform/wire/messages.h"

namespace host {

wire::Stats statsMessage(const service::Service& service, const SessionTable& sessions, const Limits& limits);

}  // namespace host
