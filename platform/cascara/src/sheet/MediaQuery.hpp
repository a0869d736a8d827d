#pragma once

#include "syntax/Token.hpp"

#include <Cascara/Media.hpp>

#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace Cascara
{
/// The condition of an `@media` rule. Features: width, height (with min-, max- and ranges), orientation and
/// prefers-reduced-motion; the types `all` and `screen` are true.
class MediaQuery
{
public:
    /// Of the tokens `first` to `end` (exclusive). What is wrong in one of several queries makes that one false and stands in
    /// `errors`.
    [[nodiscard]] static MediaQuery parse(const Tokens& tokens, int first, int end, std::vector<StyleSheetError>& errors);

    [[nodiscard]] bool matches(const Media& media) const;

private:
    friend class MediaQueryParser;
    using Condition = std::function<bool(const Media&)>;

    std::vector<Condition> m_queries; ///< one of them must hold
};

/// An `@media` rule, and the one around it.
struct MediaScope
{
    MediaQuery query;
    std::shared_ptr<const MediaScope> around; ///< null at the top of a sheet

    [[nodiscard]] bool matches(const Media& media) const { return query.matches(media) && (!around || around->matches(media)); }
};
}
