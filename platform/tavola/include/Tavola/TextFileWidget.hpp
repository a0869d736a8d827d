#pragma once

#include <Trellis/TextWidget.hpp>

namespace Tavola
{
struct TextFile;

/// A text to be read, from a file or from its attribute. CSS type "TextWidget". Main thread only.
///
/// Attributes beside those of a text: "source" (a text file, UTF-8 or with a byte order mark), which replaces the attribute
/// "text" once it has been read, off the main thread; "display-name"; "cut-note" (the last line where the file is longer than is
/// shown; %1 stands for the KiB shown, %2 for all) and "no-text-note" (shown in place of a file that is no text, with the
/// pseudo-class "failed"). Both cases are one warning for each file and application. A file that cannot be read is a warning, and
/// "text" stays. Event: "text-loaded".
class TAVOLA_EXPORT TextFileWidget final : public Trellis::TextWidget
{
public:
    static constexpr int kMostBytes = 256 * 1024; ///< what comes after is left out, and said to be

    explicit TextFileWidget(Trellis::Widget* parent = nullptr);
    ~TextFileWidget() override;

protected:
    void attributeChanged(Facet::Attribute& attribute) override;

private:
    void readSource();
    void show(const QString& path, const TextFile& file);

    Facet::AttributeT<QString> m_source{this, "source"};
    Facet::AttributeT<QString> m_displayName{this, "display-name"};
    Facet::AttributeT<QString> m_cutNote{this, "cut-note", QString::fromUtf8("… (%1 of %2 KiB are shown.)")};
    Facet::AttributeT<QString> m_noTextNote{this, "no-text-note", QString::fromUtf8("This file is no text and cannot be shown.")};
    long m_generation = 0; ///< answers of a source that was replaced are dropped
};
}
