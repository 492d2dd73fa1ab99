#pragma once

#include <chrono>

#include "platform/posix/file_descriptor.h"

namespace velunor {

/// Takes the connections of a listening local socket and starts this program for each, with the
/// connection as its standard streams. Closes a connection whose other end has gone, and one of a
/// user who has 16 under way: whoever waits for an answer tries again. So one user's connections
/// cost another one no place. Returns when nothing has come for `idle` and nothing is under way.
/// Only for a process with one thread.
void receiveConnections(const FileDescriptor& listener, std::chrono::milliseconds idle);

}  // namespace velunor
