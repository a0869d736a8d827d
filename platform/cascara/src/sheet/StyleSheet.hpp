#pragma once

#include "selectors/Selector.hpp"
#include "sheet/MediaQuery.hpp"
#include "sheet/SheetWarnings.hpp"
#include "syntax/Token.hpp"
#include "values/WideKeyword.hpp"

#include <Cascara/FontFace.hpp>
#include <Facet/StyleValue.hpp>

#include <QByteArray>
#include <QString>

#include <memory>
#include <vector>

namespace Cascara
{
struct Rule;
struct SubstitutedValue;

struct Declaration
{
    QByteArray attribute;
    int attributeNumber = 0; ///< in the NameTable
    Facet::StyleValue value; ///< unless there are tokens
    /// Of a variable's definition, or of a value that names variables; else null.
    std::shared_ptr<const Tokens> tokens;
    /// The name that is written, where that stands for several attributes and the value names variables; else empty.
    QByteArray shorthand;
    /// An earlier declaration of the same shorthand reports what is wrong with it.
    bool isFollowing = false;
    /// Which longhand of `transition` or `animation` it is (see MotionLonghand); -1 for an attribute.
    int motionLonghand = -1;
    /// A shorthand gives the attribute its default, since it says nothing of it.
    bool isReset = false;
    bool isVariable = false;
    bool isInherited = false; ///< children inherit the attribute
    WideKeyword keyword = WideKeyword::None;
    /// It may say that the attribute has the value of the parent's although children do not inherit it.
    bool takesFromParent = false;
    bool isImportant = false;
    int line = 0;
    int column = 0;
    int serial = 0; ///< unique in the process; 0 for none
    const Rule* rule = nullptr;
    /// The value has lengths in `em`, or is a share of the parent's font size.
    bool usesFontSize = false;
    /// The word `currentcolor` stands in it.
    bool usesColor = false;
    /// Whether it says the same for every node.
    [[nodiscard]] bool isConstant() const noexcept
    {
        return !tokens && !usesFontSize && !usesColor && keyword == WideKeyword::None;
    }
    /// Whether it has to do with the nodes above or below.
    [[nodiscard]] bool mayInherit() const noexcept { return isVariable || isInherited || !isConstant(); }
    /// The value as it is written, for tools.
    [[nodiscard]] QString text() const { return tokens ? tokens->source : value.toString(); }
    /// What its tokens gave last; null for none.
    mutable std::shared_ptr<const SubstitutedValue> substituted;
    /// A mistake in it was reported: once for a declaration, not once per node.
    mutable bool isReported = false;
};

struct StyleSheet;

struct Rule
{
    std::vector<Selector> selectors;
    std::vector<SelectorName> names; ///< in its selectors
    std::vector<Declaration> declarations;
    const StyleSheet* sheet = nullptr;
    std::shared_ptr<const MediaScope> media; ///< null for a rule that is always in force
    bool isInForce = true;

    /// None as long as it is not in force.
    [[nodiscard]] const std::vector<Selector>& selectorsInForce() const
    {
        static const std::vector<Selector> kNone;
        return isInForce ? selectors : kNone;
    }
};

/// What is in force at one moment of an animation.
struct Keyframe
{
    double offset = 0.0;              ///< share of an iteration, 0 to 1
    std::shared_ptr<const Rule> rule; ///< without selectors; several moments may share it
};

/// `@keyframes`. Outlives its sheet while an animation uses it; its declarations do not.
struct Keyframes
{
    QString name;
    std::vector<Keyframe> frames;            ///< as written
    std::shared_ptr<const MediaScope> media; ///< null for keyframes that are always in force
    bool isInForce = true;
};

struct StyleSheet
{
    struct Import
    {
        QString url; ///< as written
        int line;
        int column;
    };
    QString name;          ///< in messages
    QString baseDirectory; ///< of relative file names
    std::vector<Import> imports;
    /// Rules keep their address.
    std::vector<std::unique_ptr<Rule>> rules;
    std::vector<std::shared_ptr<Keyframes>> keyframes;
    std::vector<FontFace> fontFaces;
    std::vector<StyleSheetError> errors;
    std::shared_ptr<SheetWarnings> warnings = std::make_shared<SheetWarnings>(); ///< never null
};
}
