#pragma once

namespace Bench
{
/// What was asked of OpenGL since `reset`.
struct GlCalls
{
    long draws = 0;
    long uploads = 0; ///< of pictures or parts of them
};

/// Counts the calls of all contexts that share with the current one, from now on: Qt's functions of the context are replaced by
/// some that count.
void countGlCalls();
/// The calls until now.
[[nodiscard]] GlCalls& glCalls();
}
