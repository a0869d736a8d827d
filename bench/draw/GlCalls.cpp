#include "draw/GlCalls.hpp"

#include <QOpenGLContext>
#include <QOpenGLFunctions>

namespace Bench
{
namespace
{
/// The table of functions that Qt's paint engine and its helpers call through is protected.
struct Access : QOpenGLFunctions
{
    [[nodiscard]] static QOpenGLFunctionsPrivate::Functions& tableOf(QOpenGLFunctions& functions)
    {
        return (functions.*(&Access::d_ptr))->f;
    }
};

/// As the driver has them.
QOpenGLFunctionsPrivate::Functions original;

void QOPENGLF_APIENTRY drawArrays(GLenum mode, GLint first, GLsizei count)
{
    ++glCalls().draws;
    original.DrawArrays(mode, first, count);
}

void QOPENGLF_APIENTRY drawElements(GLenum mode, GLsizei count, GLenum type, const GLvoid* indices)
{
    ++glCalls().draws;
    original.DrawElements(mode, count, type, indices);
}

void QOPENGLF_APIENTRY texImage2D(GLenum target, GLint level, GLint format, GLsizei width, GLsizei height, GLint border,
                                  GLenum pixelFormat, GLenum type, const GLvoid* pixels)
{
    glCalls().uploads += pixels != nullptr; // null: room for pixels
    original.TexImage2D(target, level, format, width, height, border, pixelFormat, type, pixels);
}

void QOPENGLF_APIENTRY texSubImage2D(GLenum target, GLint level, GLint x, GLint y, GLsizei width, GLsizei height,
                                     GLenum pixelFormat, GLenum type, const GLvoid* pixels)
{
    ++glCalls().uploads;
    original.TexSubImage2D(target, level, x, y, width, height, pixelFormat, type, pixels);
}
}

GlCalls& glCalls()
{
    static GlCalls calls;
    return calls;
}

void countGlCalls()
{
    QOpenGLFunctionsPrivate::Functions& table = Access::tableOf(*QOpenGLContext::currentContext()->functions());
    if (table.DrawArrays == drawArrays)
        return;
    original = table;
    table.DrawArrays = drawArrays;
    table.DrawElements = drawElements;
    table.TexImage2D = texImage2D;
    table.TexSubImage2D = texSubImage2D;
}
}
