// One input is a file of a presentation: its presentation.json when it begins with a brace, else its list of people.

#include "FuzzSupport.hpp"

#include "presentation/Presentation.hpp"
#include "services/PeopleFile.hpp"

#include <cmath>

namespace
{
void readPresentation(const std::uint8_t* data, std::size_t size)
{
    static const Fuzz::MemoryFile file;
    file.write(data, size);
    QString error;
    const auto presentation = Host::Presentation::load(QString::fromStdString(file.path()), error);
    Fuzz::require(presentation.has_value() == error.isEmpty(), "a presentation is read, or there is a reason");
    if (!presentation)
        return;
    const float largest = float(Host::Presentation::kLargestSizePx);
    for (const float value : {presentation->sizePx.x, presentation->sizePx.y, presentation->pixelPitchMm})
        Fuzz::require(value > 0.f && value <= largest, "a table has a size");
    for (const float seconds :
         {presentation->care.closeAfterSeconds, presentation->care.closeLiftedAfterSeconds, presentation->care.idleAfterSeconds})
        Fuzz::require(std::isfinite(seconds), "a time is a number");
    for (const auto& server : presentation->mediaServers)
        Fuzz::require(Host::isWebAddress(server.address) && server.timeoutSeconds > 0.0, "a media server can be asked");
    for (const auto& listener : presentation->input.listeners)
        Fuzz::require(listener.port >= 0 && listener.port <= 65535, "a listener has a port");
}

void readPeople(const std::uint8_t* data, std::size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), int(size));
    bool complete = false;
    const auto people = Host::PeopleFile::parse(text, QStringLiteral("people.csv"), complete);
    bool completeAgain = false;
    const auto again = Host::PeopleFile::parse(Host::PeopleFile::format(people), QStringLiteral("again.csv"), completeAgain);
    Fuzz::require(completeAgain, "what is written can be read");
    Fuzz::require(again.size() == people.size(), "what is written is what was read");
    for (std::size_t i = 0; i < people.size(); ++i)
        Fuzz::require(again[i].code == people[i].code && again[i].kind == people[i].kind, "each of it");
}
}

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Fuzz::dropMessages();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > 0 && data[0] == '{')
        readPresentation(data, size);
    else
        readPeople(data, size);
    return 0;
}
