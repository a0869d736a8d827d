#pragma once

/// On types whose identity must be the same in every library, exceptions above all: the house builds with hidden visibility.
#define FOLLY_EXPORT __attribute__((visibility("default")))
