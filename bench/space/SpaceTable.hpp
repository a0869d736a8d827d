#pragma once

#include "../tests/support/ScriptedInput.hpp"

#include "personalspace/PersonalSpaceContents.hpp"
#include "registration/FactoryRegistrant.hpp"

#include <Tavola/Component.hpp>
#include <Tavola/Tavola.hpp>
#include <Trellis/Application.hpp>

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

namespace Tavola
{
class PersonalSpaceContentWidget;
class PersonalSpaceWidget;
}

namespace Bench
{
/// A table with a detector all over it that opens personal spaces, styled by one sheet. No servers: spaces collect for e-mail.
/// Cards are moved by hand, frames are cranked. One at a time.
class SpaceTable
{
public:
    SpaceTable();
    ~SpaceTable();
    SpaceTable(const SpaceTable&) = delete;
    SpaceTable& operator=(const SpaceTable&) = delete;

    [[nodiscard]] Trellis::Application& application() { return m_application; }
    void frames(int count);

    /// A card that was on no table before, whose owner is known; its code.
    [[nodiscard]] unsigned long newCard();
    /// Puts a card down in the middle, where nothing may lie, and cranks the frame in which its space opens; its id on the table.
    /// Throws std::runtime_error when none does.
    std::int64_t putDown(unsigned long code);
    void lift(std::int64_t card);
    /// From the bottom to the top.
    [[nodiscard]] std::vector<Tavola::PersonalSpaceWidget*> spaces();
    /// Lifts all cards and removes all spaces.
    void clear();

    /// The area for content of a new space, which stands beside the table. `contents` are the card's.
    struct Area
    {
        Tavola::PersonalSpaceContentWidget* widget;
        std::shared_ptr<Tavola::PersonalSpaceContents> contents;
    };
    [[nodiscard]] Area openArea();

private:
    template <class T>
    using Registrant = std::optional<Tavola::FactoryRegistrant<T>>;

    Trellis::Application m_application{{1920.f, 1080.f}};
    std::shared_ptr<Tavola::Tavola> m_tavola;
    TestSupport::ScriptedInput m_input;
    Registrant<Tavola::WidgetComponent> m_spaces;
    Registrant<Tavola::CustomWidgetInstanceComponent> m_detectors;
    std::vector<std::int64_t> m_cards; ///< on the table
};

/// The sheet of the table: the rules of a space, and as many for other things as a presentation has.
[[nodiscard]] QString spaceSheet();
/// How a sheet of Qt's names widgets, which have no classes.
enum class QtNames {
    ClassProperty, ///< by a dynamic property "class": the same selectors
    ObjectName     ///< by their object names, which Qt matches fastest
};
/// The same for Qt's widgets.
[[nodiscard]] QString qtSpaceSheet(QtNames names);
/// The one of a widget's type and classes that the sheet names; otherwise the first. Fits as an object name.
[[nodiscard]] QString styledName(const QStringList& typeAndClasses);
}
