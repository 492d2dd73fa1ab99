#pragma once

#include <string>
#include <string_view>

namespace velunor::library_log {

/// Writes one line of the library's own output. Lines from before the stream is opened are kept
/// and written then; without a stream they go to standard error. Any thread, also while the process
/// exits.
void write(std::string_view line);

/// Writes an error that ends start-up: to the library's output and to the system log. Any thread.
void writeError(std::string_view line);

/// Opens the file at `path` for appending, creating it readable by its owner alone, and sends the
/// library's output there. An empty path or a file that cannot be opened means standard error. Main
/// thread.
void open(const std::string& path);

}  // namespace velunor::library_log
