#include "care/TableCare.hpp"

#include "care/DropFlights.hpp"
#include "care/MenuPlaces.hpp"
#include "care/OpenedClasses.hpp"
#include "care/SpokenLanguage.hpp"
#include "services/CardLanguages.hpp"

#include <Cascara/StyleEngine.hpp>
#include <Tactile/Sample.hpp>
#include <Tavola/LaunchedContentOperator.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/UserInterface.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/FrameInfo.hpp>
#include <Trellis/GrabManager.hpp>
#include <Trellis/Widget.hpp>

namespace Host
{
namespace
{
constexpr float kAllAtOnceSeconds = 60.f; ///< longer than any movement

/// Content that does not follow its card ends whole on the table; relative content is not moved by this.
void settleLaunched(const CardOpening& opening, bool isMotionReduced)
{
    const auto opened = opening.widget.lock();
    if (!opened)
        return;
    for (const auto& op : opened->operators())
        if (auto* const launch = dynamic_cast<Tavola::LaunchedContentOperator*>(op.get())) {
            launch->keepOnTable();
            if (isMotionReduced)
                launch->openAtOnce();
        }
}

/// Whether what moves by style sheets stands still.
void calmStyles(bool isMotionReduced)
{
    auto& styles = Cascara::StyleEngine::instance();
    Cascara::Media media = styles.media();
    if (media.reducesMotion == isMotionReduced)
        return;
    media.reducesMotion = isMotionReduced;
    styles.setMedia(media);
}
}

TableCare::TableCare(const CareSettings& settings, float pixelPitchMm, std::shared_ptr<const CardLanguages> languages)
    : m_languages(std::move(languages)), m_places(pixelPitchMm),
      m_keyboards([this](const Trellis::Widget& carrier) { return m_places.neighboursOf(carrier); }), m_clock(settings),
      m_signs(pixelPitchMm), m_idle(settings.idleAfterSeconds), m_tidy(settings.tidyAfterSeconds, pixelPitchMm)
{
}

void TableCare::added(Trellis::Widget& /*widget*/)
{
    m_isAlwaysCalm = Cascara::StyleEngine::instance().media().reducesMotion;
    Tavola::Tavola::instance()->ui()->setKeyboardPlacer(
        [this](Trellis::Widget& keyboard, const Trellis::Widget& carrier, const Tavola::KeyboardRequest& request) {
            return m_keyboards.place(keyboard, carrier, request);
        });
}

void TableCare::removed(Trellis::Widget& /*widget*/)
{
    calmStyles(m_isAlwaysCalm);
    if (const auto application = Tavola::Tavola::instance())
        application->ui()->setKeyboardPlacer({});
}

void TableCare::giveLanguage(const CardOpening& opening) const
{
    const auto opened = opening.widget.lock();
    // What a menu launched has the language of the menu.
    if (opened && m_languages && languageOf(*opened).isEmpty())
        setLanguage(*opened, m_languages->ofCard(opening.card.code()));
}

void TableCare::update(Trellis::Widget& widget, const Trellis::FrameInfo& frame)
{
    const auto& application = *Trellis::Application::instance();
    const Tactile::Sample& sample = application.grabManager()->currentSample();
    const bool isMotionReduced = m_isAlwaysCalm || application.mainLayer()->hasPseudoClass("reduced-motion");
    calmStyles(isMotionReduced);
    const float motionSeconds = isMotionReduced ? kAllAtOnceSeconds : frame.dt();
    m_open.clear();
    m_keyboards.appendTo(m_open);
    m_places.update(sample.markers, m_open, application.size(), motionSeconds);
    for (const CardOpening& opening : m_openings.find(widget, sample)) {
        giveLanguage(opening);
        giveOpenedClasses(opening, *application.mainLayer(), *application.grabManager());
        m_clock.add(opening);
        if (opening.isLaunched) {
            settleLaunched(opening, isMotionReduced);
            placeMenu(opening, m_places, application.size());
            m_places.addLaunched(opening);
            continue;
        }
        m_places.add(opening);
    }
    m_clock.update(widget, sample, frame.dt());
    m_places.appendTo(m_open);
    m_signs.update(*Tavola::Tavola::instance()->ui()->internalOverlayWidget(), widget,
                   {*application.grabManager(), m_openings, m_open, m_languages.get()});
    m_drags.update(widget, *application.grabManager());
    m_dragSigns.update(widget, m_drags.all());
    DropFlights::update(widget, isMotionReduced ? nullptr : Tavola::Tavola::instance()->ui()->overlayWidget().get(),
                        m_drags.all());
    m_idle.update(*application.mainLayer(), sample, m_clock.isAnyOpen(), frame.dt());
    m_tidy.update(widget, application.size(), m_idle.unusedSeconds(), motionSeconds);
}
}
