// What commands write: files that appear only when they are whole, and text as JSON.

#pragma once

#include <stddef.h>
#include <string>

/// Writes \p size bytes to a new file beside \p name, then gives it that name. A failure leaves what was there before,
/// and gives its reason.
bool writeFile(const char *name, const void *data, size_t size, std::string &error);
/// The same, and a failure prints one line of \p command to stderr. The name "-" stands for the standard output.
bool writeOutput(const char *command, const char *name, const void *data, size_t size);

/// Appends a JSON string. Bytes that are not UTF-8 become U+FFFD.
void appendJson(std::string &dest, const char *text);
