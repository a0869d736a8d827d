#include "care/SpokenLanguage.hpp"

#include "services/CardLanguages.hpp"

#include <Facet/AttributeT.hpp>
#include <Trellis/Widget.hpp>

namespace Host
{
namespace
{
const QByteArray kBegin = QByteArrayLiteral("lang(");

QByteArray pseudoClassOf(const QString& tag)
{
    return kBegin + tag.toUtf8() + ')';
}
}

void setLanguage(Trellis::Widget& widget, const QString& tag)
{
    const QStringList tags = languageAndParents(tag);
    for (const QByteArray& name : widget.pseudoClasses())
        if (name.startsWith(kBegin) && !tags.contains(QString::fromUtf8(name.mid(kBegin.size()).chopped(1))))
            widget.setPseudoClass(name, false);
    for (const QString& one : tags)
        widget.setPseudoClass(pseudoClassOf(one), true);
}

QString languageOf(const Trellis::Widget& widget)
{
    QByteArray longest;
    for (const QByteArray& name : widget.pseudoClasses())
        if (name.startsWith(kBegin) && name.size() > longest.size())
            longest = name;
    return longest.isEmpty() ? QString() : QString::fromUtf8(longest.mid(kBegin.size()).chopped(1));
}

QString languageOfSender(const Trellis::Widget& layer, const QString& address)
{
    for (const auto& widget : layer.children()) {
        const auto* const email = dynamic_cast<const Facet::AttributeT<QString>*>(widget->attribute("user-email"));
        if (email && email->value() == address && widget->hasCSSClass("sending-email"))
            return languageOf(*widget);
    }
    return {};
}
}
