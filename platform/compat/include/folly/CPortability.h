#pragma once

/// For types that must be the same in every library, such as exceptions: the libraries are built with hidden visibility.
#define FOLLY_EXPORT __attribute__((visibility("default")))
