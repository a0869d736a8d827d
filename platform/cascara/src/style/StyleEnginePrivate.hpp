#pragma once

#include "sheet/NameChecker.hpp"
#include "style/Restyler.hpp"

#include <Cascara/StyleEngine.hpp>

#include <functional>
#include <memory>
#include <vector>

namespace Cascara
{
struct StyleEngine::Private
{
    Restyler restyler;
    std::vector<FontFace> fontFaces;
    std::function<void()> fontListener;

    void bindFonts(const std::vector<std::unique_ptr<StyleSheet>>& sheets);
    bool checksNames = false;

    /// For reading sheets; null when names are not checked.
    [[nodiscard]] NameChecker::IsMadeLater isMadeLater() const;

    [[nodiscard]] static Restyler& restylerOf(StyleEngine& engine) { return engine.d->restyler; }
};

/// The one restyler, for the other classes of this library.
[[nodiscard]] Restyler& restyler();
}
