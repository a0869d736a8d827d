#pragma once

#include <QString>
#include <QStringList>

namespace Cascara
{
/// What an `@font-face` rule of a style sheet says: a name, and the files of which the first that can be read is its font.
struct FontFace
{
    QString family;
    QStringList files; ///< as paths; a relative one is resolved against the sheet's folder
    int weight = 0;    ///< 1 to 1000; 0: what the file says
    bool isItalic = false;
    QString sheet; ///< with line and column: where the rule stands, for messages
    int line = 0;
    int column = 0;
};
}
