#include "folder/PersonalFolderWidget.hpp"

#include "folder/MarkerTrackerOperator.hpp"
#include "folder/PersonalFolderWidgetInstance.hpp"

#include <Tavola/ContentMenuWidget.hpp>
#include <Tavola/LaunchedContentOperator.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/UserInterface.hpp>
#include <Tavola/Utils.hpp>
#include <Trellis/FadeAnimator.hpp>

namespace Tavola
{
namespace
{
constexpr float kFadeOutSeconds = 0.2f;
}

PersonalFolderWidget::PersonalFolderWidget(Trellis::Widget* parent) : Trellis::Widget(parent)
{
    setCSSType("PersonalFolderWidget");
}

PersonalFolderWidget::~PersonalFolderWidget() = default;

void PersonalFolderWidget::personalMarkerDown(const Tactile::Marker& marker)
{
    if (!m_reverseMode.value()) {
        createContents(marker);
        return;
    }
    const auto opened = m_openedByMarker.find(marker.id());
    if (opened == m_openedByMarker.end())
        return;
    // A dismiss action may call this function again: the entry is erased first.
    const auto trackers = std::move(opened->second);
    m_openedByMarker.erase(opened);
    for (const auto& weak : trackers)
        if (const auto tracker = weak.lock())
            tracker->dismissContent();
}

void PersonalFolderWidget::personalMarkerUp(const Tactile::Marker& marker)
{
    if (m_reverseMode.value())
        createContents(marker);
}

void PersonalFolderWidget::createContents(const Tactile::Marker& marker)
{
    const auto application = Tavola::instance();
    const auto instance =
        application ? std::dynamic_pointer_cast<PersonalFolderWidgetInstance>(application->widgetInstance(id())) : nullptr;
    if (!instance)
        return;
    const auto mainWidget = application->ui()->mainWidget();
    const Vecta::Vector2T<float> point = mainWidget->mapFromScene(marker.centerLocation());
    for (const bool relative : {true, false}) {
        for (const auto& widget : instance->createContents(relative)) {
            if (auto* menu = dynamic_cast<ContentMenuWidget*>(widget.get()))
                handleMenu(*menu, point, *mainWidget, marker);
            else
                handleWidget(*widget, point, *mainWidget, relative, marker);
        }
    }
}

void PersonalFolderWidget::handleWidget(Trellis::Widget& item, const Vecta::Vector2T<float>& point, Trellis::Widget& parent,
                                        bool relative, const Tactile::Marker& marker)
{
    parent.addChild(item);
    item.raiseToTop(false);
    item.addOperator(Bedrock::makeIntrusive<LaunchedContentOperator>(relative, point, m_openingDuration.value()));

    auto dismiss = [weak = Bedrock::IntrusiveWeakPtr<Trellis::Widget>(&item)] {
        if (const auto widget = weak.lock())
            Trellis::FadeAnimator::fadeOutAndDelete(*widget, kFadeOutSeconds, 0.f);
    };
    const auto tracker =
        Bedrock::makeIntrusive<MarkerTrackerOperator>(marker, relative && m_followMarker.value(), m_dismissWidgets.value(), *this,
                                                      std::move(dismiss), m_rotationOffset.value(), m_reverseMode.value());
    tracker->setWidget(item);
    item.addOperator(tracker);
    item.addCSSClass(Utils::temporaryWidgetCSSClass());
    remember(marker, *tracker);
}

void PersonalFolderWidget::handleMenu(ContentMenuWidget& menu, const Vecta::Vector2T<float>& point, Trellis::Widget& parent,
                                      const Tactile::Marker& marker)
{
    menu.addCSSClass("personal-menu");
    parent.addChild(menu);
    const auto node = menu.prepare(point);

    auto dismiss = [weak = Bedrock::IntrusiveWeakPtr<ContentMenuWidget>(&menu), node] {
        if (const auto widget = weak.lock())
            widget->closeNode(node);
    };
    const auto tracker =
        Bedrock::makeIntrusive<MarkerTrackerOperator>(marker, m_followMarker.value(), m_dismissWidgets.value(), *this,
                                                      std::move(dismiss), m_rotationOffset.value(), m_reverseMode.value());
    tracker->setMenuNode(menu, node);
    menu.addOperator(tracker);
    menu.addCSSClass(Utils::temporaryWidgetCSSClass());
    remember(marker, *tracker);
}

void PersonalFolderWidget::remember(const Tactile::Marker& marker, MarkerTrackerOperator& tracker)
{
    if (m_reverseMode.value())
        m_openedByMarker[marker.id()].emplace_back(&tracker);
}
}
