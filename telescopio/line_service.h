#pragma once
// The served centre: a text service on 127.0.0.1 for telescope programs. A client sends
// "POS AR=nnnnnnnn DE=+nnnnnnn" or "CEN ..." one a line and gets "OK!" back; "ALI?" answers the
// last solved centre, and every solution is pushed to all clients as "ALI AR=... DE=...".
#include <cstdint>
#include <string>

#include "comun/context.h"

namespace tornel {

// Listens on 127.0.0.1:port (0 takes a free port) and writes the port to LineServicePortFile().
// False when the port cannot be had; the reason is told to the user.
bool OpenLineService(Context& c, uint16_t port);
void CloseLineService(Context& c);
// Accepts clients and answers what they sent; never waits. The line service's timer calls it.
void ServeLineClients(Context& c);
// $XDG_RUNTIME_DIR/tornel/tcpport, or tcpport in the program folder without a runtime folder.
std::string LineServicePortFile(const Context& c);

}  // namespace tornel
