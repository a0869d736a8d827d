#pragma once

/// Marks a class or function as part of a library's public face. All libraries are built with hidden visibility;
/// on ELF the same attribute serves the library itself and its users, so one macro is enough for the whole house.
#define TAVOLA_EXPORT __attribute__((visibility("default")))
