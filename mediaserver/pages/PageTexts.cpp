#include "PageTexts.hpp"

#include <algorithm>
#include <iterator>

namespace MediaServer
{

namespace
{

const char* const kEnglishMonths[] = {"January", "February", "March",     "April",   "May",      "June",
                                      "July",    "August",   "September", "October", "November", "December"};
const char* const kGermanMonths[] = {"Januar", "Februar", "März",      "April",   "Mai",      "Juni",
                                     "Juli",   "August",  "September", "Oktober", "November", "Dezember"};
const char* const kFinnishMonths[] = {"tammikuuta", "helmikuuta", "maaliskuuta", "huhtikuuta", "toukokuuta",  "kesäkuuta",
                                      "heinäkuuta", "elokuuta",   "syyskuuta",   "lokakuuta",  "marraskuuta", "joulukuuta"};
const char* const kFrenchMonths[] = {"janvier", "février", "mars",      "avril",   "mai",      "juin",
                                     "juillet", "août",    "septembre", "octobre", "novembre", "décembre"};

const PageTexts kTexts[] = {
    {"en",
     "English",
     "Saved at the table",
     "Your collection",
     "This page is yours. What you collect at the table appears here.",
     "One thing you kept during your visit, ready to look at again.",
     "%1 things you kept during your visit, ready to look at again.",
     "Nothing here yet",
     "Drag a picture, a document or a link into your space at the table. It appears here by itself.",
     "Website",
     "Picture",
     "Document",
     "Coming: it is on its way from the table",
     "Not available at the moment",
     "Download",
     "Remove",
     "Remove everything",
     "Download everything",
     "Take this page with you",
     "Scan the code to open the page on another device, or keep its address to come back. Anyone with the address can see and "
     "change the page, so share it only with people you choose.",
     "QR code that opens this page",
     "Give this page a new address",
     "Your privacy",
     "This page knows what you collected and nothing about you: no name, no cookies, no statistics, and nothing is loaded from "
     "elsewhere.",
     "This page is kept until %1, and longer when you collect more.",
     "Language",
     "Imprint",
     "Remove this?",
     "“%1” goes from your page. It cannot be brought back from here.",
     "Remove everything?",
     "All of your collection goes from this page. It cannot be brought back from here.",
     "A new address for this page?",
     "The address that you have shared opens nothing any more, nor does its QR code. Your collection stays, at the new address.",
     "Yes, remove",
     "Yes, make a new address",
     "No, go back",
     "There is nothing here",
     "This address leads to no page. Scan the code on the table once more, or check that the address was copied whole.",
     "There is nothing to see here",
     "Your own page has an address of its own. Scan the code on the table to open it.",
     "The page is not available right now",
     "Nothing is lost. Please try again in a few minutes.",
     "This is too much at once",
     "Your collection is too large for one download. Please download its parts one by one.",
     "Please confirm once more",
     "This question was open for too long, or did not come from your page. Nothing was changed. Go back to your page and try "
     "again.",
     kEnglishMonths,
     "%1 %2 %3"},
    {"de",
     "Deutsch",
     "Am Tisch gesammelt",
     "Ihre Sammlung",
     "Diese Seite gehört Ihnen. Was Sie am Tisch sammeln, erscheint hier.",
     "Ein Fundstück Ihres Besuchs, zum Wiederansehen.",
     "%1 Fundstücke Ihres Besuchs, zum Wiederansehen.",
     "Noch ist hier nichts",
     "Ziehen Sie am Tisch ein Bild, ein Dokument oder einen Link in Ihren Bereich. Es erscheint hier von selbst.",
     "Website",
     "Bild",
     "Dokument",
     "Kommt noch: es ist vom Tisch unterwegs",
     "Zurzeit nicht verfügbar",
     "Herunterladen",
     "Entfernen",
     "Alles entfernen",
     "Alles herunterladen",
     "Nehmen Sie diese Seite mit",
     "Scannen Sie den Code, um die Seite auf einem anderen Gerät zu öffnen, oder merken Sie sich ihre Adresse. Wer die Adresse "
     "hat, kann die Seite sehen und ändern: geben Sie sie nur weiter, an wen Sie möchten.",
     "QR-Code, der diese Seite öffnet",
     "Der Seite eine neue Adresse geben",
     "Ihre Daten",
     "Diese Seite kennt, was Sie gesammelt haben, und sonst nichts über Sie: keinen Namen, keine Cookies, keine Statistik, und "
     "nichts wird von anderswo geladen.",
     "Diese Seite bleibt bis zum %1, und länger, wenn Sie weiter sammeln.",
     "Sprache",
     "Impressum",
     "Dies entfernen?",
     "„%1“ verschwindet von Ihrer Seite und lässt sich von hier aus nicht zurückholen.",
     "Alles entfernen?",
     "Ihre ganze Sammlung verschwindet von dieser Seite und lässt sich von hier aus nicht zurückholen.",
     "Eine neue Adresse für diese Seite?",
     "Die Adresse, die Sie weitergegeben haben, öffnet dann nichts mehr, ebenso ihr QR-Code. Ihre Sammlung bleibt unter der "
     "neuen "
     "Adresse.",
     "Ja, entfernen",
     "Ja, neue Adresse",
     "Nein, zurück",
     "Hier ist nichts",
     "Diese Adresse führt zu keiner Seite. Scannen Sie den Code am Tisch noch einmal, oder prüfen Sie, ob die Adresse "
     "vollständig "
     "ist.",
     "Hier gibt es nichts zu sehen",
     "Ihre Seite hat eine eigene Adresse. Scannen Sie den Code am Tisch, um sie zu öffnen.",
     "Die Seite ist gerade nicht erreichbar",
     "Nichts ist verloren. Bitte versuchen Sie es in einigen Minuten wieder.",
     "Das ist zu viel auf einmal",
     "Ihre Sammlung ist zu groß, um sie in einem Stück herunterzuladen. Bitte laden Sie ihre Teile einzeln herunter.",
     "Bitte noch einmal bestätigen",
     "Diese Frage war zu lange offen oder kam nicht von Ihrer Seite. Nichts wurde geändert. Gehen Sie zurück zu Ihrer Seite und "
     "versuchen Sie es noch einmal.",
     kGermanMonths,
     "%1. %2 %3"},
    {"fi",
     "Suomi",
     "Pöydällä kerätty",
     "Kokoelmasi",
     "Tämä sivu on sinun. Se, mitä keräät pöydällä, näkyy täällä.",
     "Yksi vierailultasi talteen otettu kohde, uudelleen katsottavaksi.",
     "%1 vierailultasi talteen otettua kohdetta, uudelleen katsottavaksi.",
     "Täällä ei ole vielä mitään",
     "Vedä pöydällä kuva, asiakirja tai linkki omaan tilaasi. Se ilmestyy tänne itsestään.",
     "Verkkosivu",
     "Kuva",
     "Asiakirja",
     "Tulossa: matkalla pöydältä",
     "Ei saatavilla juuri nyt",
     "Lataa",
     "Poista",
     "Poista kaikki",
     "Lataa kaikki",
     "Ota tämä sivu mukaasi",
     "Skannaa koodi avataksesi sivun toisella laitteella tai talleta sen osoite. Jokainen, jolla on osoite, voi nähdä sivun ja "
     "muuttaa sitä, joten anna se vain valitsemillesi ihmisille.",
     "QR-koodi, joka avaa tämän sivun",
     "Anna sivulle uusi osoite",
     "Yksityisyytesi",
     "Tämä sivu tietää, mitä keräsit, eikä sinusta mitään muuta: ei nimeä, ei evästeitä, ei tilastoja, eikä mitään ladata "
     "muualta.",
     "Tämä sivu säilyy %1 asti, ja pidempään, kun keräät lisää.",
     "Kieli",
     "Julkaisutiedot",
     "Poistetaanko tämä?",
     "”%1” poistuu sivultasi. Sitä ei voi palauttaa täältä.",
     "Poistetaanko kaikki?",
     "Koko kokoelmasi poistuu tältä sivulta. Sitä ei voi palauttaa täältä.",
     "Uusi osoite tälle sivulle?",
     "Jakamasi osoite ei sen jälkeen avaa mitään, eikä sen QR-koodi. Kokoelmasi säilyy uudessa osoitteessa.",
     "Kyllä, poista",
     "Kyllä, tee uusi osoite",
     "Ei, takaisin",
     "Täällä ei ole mitään",
     "Tämä osoite ei johda millekään sivulle. Skannaa pöydän koodi uudelleen tai tarkista, että osoite on kopioitu kokonaan.",
     "Täällä ei ole mitään nähtävää",
     "Omalla sivullasi on oma osoitteensa. Avaa se skannaamalla pöydän koodi.",
     "Sivu ei ole juuri nyt saatavilla",
     "Mitään ei ole kadonnut. Yritä uudelleen muutaman minuutin kuluttua.",
     "Tämä on liikaa kerralla",
     "Kokoelmasi on liian suuri yhdeksi lataukseksi. Lataa sen osat yksitellen.",
     "Vahvista vielä kerran",
     "Kysymys oli auki liian kauan tai ei tullut sivultasi. Mitään ei muutettu. Palaa sivullesi ja yritä uudelleen.",
     kFinnishMonths,
     "%1. %2 %3"},
    {"fr",
     "Français",
     "Gardé à la table",
     "Votre collection",
     "Cette page est à vous. Ce que vous recueillez à la table apparaît ici.",
     "Une trouvaille de votre visite, à revoir.",
     "%1 trouvailles de votre visite, à revoir.",
     "Rien ici pour l’instant",
     "Faites glisser une image, un document ou un lien dans votre espace à la table. Il apparaît ici de lui-même.",
     "Site web",
     "Image",
     "Document",
     "En route depuis la table",
     "Indisponible pour le moment",
     "Télécharger",
     "Retirer",
     "Tout retirer",
     "Tout télécharger",
     "Emportez cette page",
     "Scannez le code pour ouvrir la page sur un autre appareil, ou gardez son adresse pour y revenir. Toute personne qui a "
     "l’adresse peut voir et modifier la page : ne la donnez qu’à qui vous voulez.",
     "Code QR qui ouvre cette page",
     "Donner une nouvelle adresse à la page",
     "Vos données",
     "Cette page sait ce que vous avez recueilli et rien d’autre de vous : ni nom, ni cookies, ni statistiques, et rien n’est "
     "chargé d’ailleurs.",
     "Cette page est conservée jusqu’au %1, et plus longtemps si vous continuez.",
     "Langue",
     "Mentions légales",
     "Retirer ceci ?",
     "« %1 » disparaît de votre page et ne peut pas être récupéré d’ici.",
     "Tout retirer ?",
     "Toute votre collection disparaît de cette page et ne peut pas être récupérée d’ici.",
     "Une nouvelle adresse pour cette page ?",
     "L’adresse que vous avez partagée n’ouvrira plus rien, son code QR non plus. Votre collection reste, à la nouvelle adresse.",
     "Oui, retirer",
     "Oui, nouvelle adresse",
     "Non, revenir",
     "Il n’y a rien ici",
     "Cette adresse ne mène à aucune page. Scannez de nouveau le code de la table, ou vérifiez que l’adresse est complète.",
     "Il n’y a rien à voir ici",
     "Votre page a sa propre adresse. Scannez le code de la table pour l’ouvrir.",
     "La page n’est pas disponible en ce moment",
     "Rien n’est perdu. Réessayez dans quelques minutes.",
     "C’est trop à la fois",
     "Votre collection est trop grande pour un seul téléchargement. Veuillez télécharger ses éléments un par un.",
     "Veuillez confirmer encore une fois",
     "Cette question est restée ouverte trop longtemps ou ne venait pas de votre page. Rien n’a été changé. Revenez à votre page "
     "et réessayez.",
     kFrenchMonths,
     "%1 %2 %3"},
};

}

QString PageTexts::date(const QDate& day) const
{
    return QString::fromUtf8(dateForm).arg(QString::number(day.day()), QString::fromUtf8(months[day.month() - 1]),
                                           QString::number(day.year()));
}

const PageTexts* PageTexts::begin()
{
    return std::begin(kTexts);
}

const PageTexts* PageTexts::end()
{
    return std::end(kTexts);
}

const PageTexts* PageTexts::find(const QByteArray& language)
{
    const QByteArray wanted = language.split('-').first().trimmed().toLower();
    const auto found = std::find_if(begin(), end(), [&](const PageTexts& texts) { return wanted == texts.language; });
    return found == end() ? nullptr : found;
}

const PageTexts& PageTexts::choose(const QByteArray& acceptLanguage, const QByteArray& otherwise)
{
    const PageTexts* best = nullptr;
    double bestWeight = 0.0;
    // A header is bounded by the server; "de-CH,de;q=0.9,en;q=0.8".
    for (const QByteArray& entry : acceptLanguage.split(',')) {
        const QList<QByteArray> parts = entry.split(';');
        const QByteArray weight = parts.size() > 1 ? parts[1].trimmed() : QByteArray("q=1");
        const double value = weight.startsWith("q=") ? weight.mid(2).toDouble() : 0.0;
        const PageTexts* const texts = find(parts.first());
        if (texts && value > bestWeight) {
            best = texts;
            bestWeight = value;
        }
    }
    if (best)
        return *best;
    const PageTexts* const usual = find(otherwise);
    return usual ? *usual : *begin();
}

}
