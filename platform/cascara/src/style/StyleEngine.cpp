#include "style/StyleEnginePrivate.hpp"

#include "sheet/SheetMessages.hpp"
#include "sheet/StyleSheetLoader.hpp"
#include "values/ValueParser.hpp"

#include <Cascara/LazyAttributeManager.hpp>

#include <cassert>
#include <utility>

namespace Cascara
{
StyleEngine::StyleEngine() : d(std::make_unique<Private>()) {}

StyleEngine::~StyleEngine() = default;

StyleEngine& StyleEngine::instance()
{
    // Never destroyed: nodes of static objects may go late.
    static StyleEngine& engine = *new StyleEngine;
    return engine;
}

Restyler& restyler()
{
    return StyleEngine::Private::restylerOf(StyleEngine::instance());
}

NameChecker::IsMadeLater StyleEngine::Private::isMadeLater() const
{
    return checksNames ? NameChecker::IsMadeLater(&LazyAttributeManager::isRegistered) : nullptr;
}

struct StyleEngine::Batch::Messages
{
    SheetMessages::Collection inOrder;
};

StyleEngine::Batch::Batch() : m_messages(std::make_unique<Messages>()) {}

StyleEngine::Batch::~Batch()
{
    restyler().reportMissing();
}

void StyleEngine::addStyleSheet(const QString& text, const QString& name, const QString& baseDirectory)
{
    const SheetMessages::Collection inOrder;
    std::vector<std::unique_ptr<StyleSheet>> sheets;
    {
        const Restyler::Pause forSamples(d->restyler);
        StyleSheetLoader(sheets, d->isMadeLater()).loadText(text, name, baseDirectory);
    }
    d->bindFonts(sheets);
    d->restyler.addSheets(std::move(sheets));
}

bool StyleEngine::loadStyleSheet(const QString& path)
{
    const SheetMessages::Collection inOrder;
    std::vector<std::unique_ptr<StyleSheet>> sheets;
    {
        const Restyler::Pause forSamples(d->restyler);
        if (!StyleSheetLoader(sheets, d->isMadeLater()).loadFile(path))
            return false;
    }
    d->bindFonts(sheets);
    d->restyler.addSheets(std::move(sheets));
    return true;
}

void StyleEngine::setChecksNames(bool on)
{
    d->checksNames = on;
}

void StyleEngine::setPixelPitch(double mmPerPixel)
{
    assert(mmPerPixel > 0.0);
    ValueParser::setPixelPitch(mmPerPixel);
}

void StyleEngine::setMedia(const Media& media)
{
    d->restyler.setMedia(media);
}

const Media& StyleEngine::media() const noexcept
{
    return d->restyler.media();
}

void StyleEngine::clearStyleSheets()
{
    d->restyler.clearSheets();
    if (!std::exchange(d->fontFaces, {}).empty() && d->fontListener)
        d->fontListener();
}

/// Before the nodes are styled, so that what is measured then has the fonts.
void StyleEngine::Private::bindFonts(const std::vector<std::unique_ptr<StyleSheet>>& sheets)
{
    const std::size_t before = fontFaces.size();
    for (const auto& sheet : sheets)
        fontFaces.insert(fontFaces.end(), sheet->fontFaces.begin(), sheet->fontFaces.end());
    if (fontFaces.size() != before && fontListener)
        fontListener();
}

const std::vector<FontFace>& StyleEngine::fontFaces() const noexcept
{
    return d->fontFaces;
}

void StyleEngine::setFontFaceListener(std::function<void()> listener)
{
    d->fontListener = std::move(listener);
}

void StyleEngine::warnOfFontFace(const FontFace& face, const QString& text)
{
    SheetMessages::warn(face.sheet, face.line, face.column,
                        QStringLiteral("%1:%2:%3: @font-face: %4")
                            .arg(face.sheet, QString::number(face.line), QString::number(face.column), text)
                            .toUtf8());
}

void StyleEngine::finishStyling()
{
    d->restyler.finish();
}

bool StyleEngine::isStylingUnfinished() const noexcept
{
    return d->restyler.isUnfinished();
}

void StyleEngine::advance(double seconds)
{
    d->restyler.advance(seconds);
}

void StyleEngine::beginAnimations()
{
    d->restyler.beginAnimations();
}

bool StyleEngine::isMoving() const noexcept
{
    return d->restyler.transitions().isMoving() || d->restyler.animations().isMoving();
}

void StyleEngine::hold(const Styleable& styleable, std::initializer_list<const char*> attributes)
{
    const auto node = StyleNode::shared(styleable); // a listener may destroy it
    if (!node->isAnimated && !d->restyler.transitions().moves(*node))
        return;
    for (const char* name : attributes)
        if (Facet::Attribute* attribute = node->owner ? node->owner->node().attribute(name) : nullptr) {
            d->restyler.transitions().hold(*node, *attribute);
            if (node->owner)
                d->restyler.animations().hold(*node, *attribute);
        }
}

std::vector<StyleEngine::MatchedDeclaration> StyleEngine::matchedDeclarations(const Styleable& styleable) const
{
    std::vector<const RuleIndex::Entry*> rules;
    d->restyler.matchRules(StyleNode::of(styleable), rules);
    std::vector<MatchedDeclaration> result;
    for (const bool important : {false, true})
        for (const RuleIndex::Entry* entry : rules)
            for (const Declaration& declaration : entry->rule->declarations)
                if (declaration.isImportant == important
                    && (!declaration.isReset || styleable.node().hasMadeAttribute(declaration.attributeNumber)))
                    result.push_back({declaration.attribute, declaration.text(), entry->selector->text, entry->rule->sheet->name,
                                      declaration.line, declaration.column});
    return result;
}

QString StyleEngine::placeOfFile(const QString& path) const
{
    return d->restyler.placeOfFile(path);
}

StyleEngine::Counters StyleEngine::counters() const noexcept
{
    return d->restyler.counters();
}
}
