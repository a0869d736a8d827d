#include "motion/Animatable.hpp"

#include <Facet/NearestWord.hpp>

#include <algorithm>
#include <iterator>

namespace Cascara
{
namespace
{
const char* const kAnimatable[] = {"background-color",
                                   "border-color",
                                   "border-bottom-color",
                                   "border-bottom-left-radius",
                                   "border-bottom-right-radius",
                                   "border-bottom-width",
                                   "border-left-color",
                                   "border-left-width",
                                   "border-right-color",
                                   "border-right-width",
                                   "border-top-color",
                                   "border-top-left-radius",
                                   "border-top-right-radius",
                                   "border-top-width",
                                   "border-radius",
                                   "border-width",
                                   "bottom",
                                   "box-shadow",
                                   "caret-color",
                                   "color",
                                   "font-size",
                                   "font-weight",
                                   "gap",
                                   "height",
                                   "left",
                                   "letter-spacing",
                                   "line-height",
                                   "location",
                                   "margin",
                                   "max-height",
                                   "max-width",
                                   "min-height",
                                   "min-width",
                                   "opacity",
                                   "padding",
                                   "right",
                                   "rotation",
                                   "scale",
                                   "top",
                                   "width"};
}

bool isAnimatable(const QByteArray& attribute)
{
    return std::any_of(std::begin(kAnimatable), std::end(kAnimatable), [&](const char* name) { return attribute == name; });
}

QStringList animatableNames()
{
    QStringList names;
    for (const char* name : kAnimatable)
        names.append(QString::fromLatin1(name));
    return names;
}

QString nearestAnimatable(const QString& written)
{
    return Facet::didYouMean(written, animatableNames());
}
}
