// Files that appear only when they are whole.

#pragma once

#include <stddef.h>

/// Writes \p size bytes to a new file beside \p name, then gives it that name. A failure leaves what was there before,
/// and prints one line of \p command to stderr.
bool writeFile(const char *command, const char *name, const void *data, size_t size);
