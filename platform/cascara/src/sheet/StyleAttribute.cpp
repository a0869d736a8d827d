#include <Cascara/StyleAttribute.hpp>

#include <Facet/StyleConversion.hpp>
#include <Facet/ValueNotation.hpp>

#include <algorithm>
#include <utility>

namespace Cascara
{
namespace
{
template <class T>
bool isWrittenAs(const Facet::StyleValue& value, QString* error)
{
    T ignored{};
    return Facet::StyleConversion<T>::read(value, ignored, error);
}
}

QStringList StyleAttribute::kinds()
{
    // In the order of Kind.
    static const QStringList all{QStringLiteral("yes/no"), QStringLiteral("number"), QStringLiteral("whole number"),
                                 QStringLiteral("text"),   QStringLiteral("list"),   QStringLiteral("colour")};
    return all;
}

StyleAttribute::StyleAttribute(QString name, const QString& kind) : m_name(std::move(name))
{
    if (const int index = kinds().indexOf(kind); index >= 0)
        m_kind = Kind(index);
}

StyleAttribute::StyleAttribute(QString name, QStringList words)
    : m_name(std::move(name)), m_words(std::move(words)), m_kind(Kind::Words)
{
}

bool StyleAttribute::accepts(const Facet::StyleValue& value, QString* error) const
{
    switch (m_kind) {
    case Kind::YesNo: return isWrittenAs<bool>(value, error);
    case Kind::Number: return isWrittenAs<float>(value, error);
    case Kind::WholeNumber: return isWrittenAs<int>(value, error);
    case Kind::Text: return isWrittenAs<QString>(value, error);
    case Kind::List: return isWrittenAs<QStringList>(value, error);
    case Kind::Color: return isWrittenAs<Bedrock::Color>(value, error);
    case Kind::Words: break;
    case Kind::Any: return true;
    }
    const QString written = Facet::singleWord(value);
    if (m_words.contains(written, Qt::CaseInsensitive))
        return true;
    if (error)
        *error = Facet::expectedOneOf(m_words, written);
    return false;
}
}
