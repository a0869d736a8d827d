#pragma once

#include <Trellis/TextWidget.hpp>

namespace Tavola
{
/// A text to be read, from a file or from its attribute. CSS type "TextWidget". Main thread only.
///
/// Attributes beside those of a text: "source" (a text file, UTF-8 or with a byte order mark), which replaces the attribute
/// "text" once it has been read, off the main thread; "display-name". A file that cannot be read is a warning, and "text" stays.
/// Event: "text-loaded".
class TAVOLA_EXPORT TextFileWidget final : public Trellis::TextWidget
{
public:
    static constexpr int kMostBytes = 256 * 1024; ///< what comes after is left out

    explicit TextFileWidget(Trellis::Widget* parent = nullptr);
    ~TextFileWidget() override;

protected:
    void attributeChanged(Facet::Attribute& attribute) override;

private:
    void readSource();

    Facet::AttributeT<QString> m_source{this, "source"};
    Facet::AttributeT<QString> m_displayName{this, "display-name"};
    long m_generation = 0; ///< answers of a source that was replaced are dropped
};
}
