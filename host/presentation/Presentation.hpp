#pragma once

#include "care/CareSettings.hpp"
#include "presentation/InputSettings.hpp"
#include "presentation/ScreenView.hpp"
#include "services/collections/CollectionSettings.hpp"
#include "services/email/MailSettings.hpp"

#include <Tavola/ComponentUse.hpp>
#include <Vecta/Vector2T.hpp>

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace Host
{
using Tavola::ComponentUse;

struct MediaServerSettings
{
    QString name;
    QString address;
    double timeoutSeconds = 10.0;
    QByteArray key; ///< for a server that takes commands with its key only; empty: none is sent
};

/// Whether a text is an http or https address with a host.
[[nodiscard]] bool isWebAddress(const QString& text);

/// What a table shows, read from the folder's presentation.json. A plain record.
struct Presentation
{
    /// A table's longest side.
    static constexpr int kLargestSizePx = 16384;
    static constexpr int kMostPictureMegabytes = 65536;

    QString folder;
    QString title;
    Vecta::Vector2f sizePx{1920.f, 1080.f};
    float pixelPitchMm = 0.55f;         ///< of a pixel of the layout, as it is shown
    std::optional<ScreenFit> fit;       ///< to the screen; nothing: Scale in full screen, Relayout in a window
    int pictureMegabytes = 256;         ///< memory of what is kept as pictures
    int decodedMegabytes = 512;         ///< on the disk, of decoded pictures and pages; 0 keeps none
    std::optional<int> paintingThreads; ///< not set: one for each core, at most four
    bool reducedMotion = false;         ///< style sheets show no motion; `prefers-reduced-motion`
    InputSettings input;
    QString keyboardLayout;                  ///< of the keyboards on the table; empty: the default one, "none": no keyboards
    QString language = QStringLiteral("en"); ///< of the table, a tag in lower case
    QStringList languageFolders;             ///< absolute paths of the folders with texts (see LanguageTexts)
    QStringList styleSheets;                 ///< absolute paths
    QStringList plugins;                     ///< library names or absolute paths
    QString peopleFile;                      ///< absolute path; empty without people
    QString database; ///< what several tables share, as Storage::Address reads it; empty: files of this table
    std::vector<MediaServerSettings> mediaServers;
    std::vector<MailSettings> mailServices;        ///< no two of one name
    std::optional<CollectionSettings> collections; ///< nothing: what cards collect ends with the program
    std::vector<unsigned long> cards;              ///< the codes of the keys 1 to 9; in the file numbers, or texts above 2^53
    std::vector<ComponentUse> widgets;
    /// Where people stand: what is on the shelf is put in front of each.
    struct Place
    {
        Vecta::Vector2f point;    ///< table pixels
        float angleDegrees = 0.f; ///< clockwise; 0: the person stands at the lower edge
    };
    std::vector<Place> places;
    std::vector<ComponentUse> shelf;
    /// Content keys, and the component that a card with that key opens.
    std::vector<std::pair<QString, ComponentUse>> folders;
    CareSettings care;

    /// Reads a presentation's folder (or the path of its presentation.json). Nothing, with the reason in `error`, when the file
    /// is missing or no JSON object. A mistake inside costs the smallest piece: a warning names the file and the place
    /// ("widgets[3].attributes.source"), and the rest is read.
    [[nodiscard]] static std::optional<Presentation> load(const QString& path, QString& error);

    /// Where collections are kept, as Storage::Address reads it; empty: in a file of this table, or not at all.
    [[nodiscard]] QString collectionsDatabase() const { return collections ? database : QString(); }
};
}
