#include <Trellis/FontRules.hpp>

#include <doctest/doctest.h>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <fontconfig/fontconfig.h>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace
{
using Configuration = std::unique_ptr<FcConfig, decltype(&FcConfigDestroy)>;
using Pattern = std::unique_ptr<FcPattern, decltype(&FcPatternDestroy)>;
using FontSet = std::unique_ptr<FcFontSet, decltype(&FcFontSetDestroy)>;

const FcChar8* bytes(const char* text)
{
    return reinterpret_cast<const FcChar8*>(text); // NOLINT
}

Configuration tableRules()
{
    Configuration rules(FcConfigCreate(), FcConfigDestroy);
    REQUIRE(FcConfigParseAndLoadFromMemory(rules.get(), bytes(Trellis::kTableFontRules), FcTrue));
    REQUIRE(FcConfigBuildFonts(rules.get()));
    return rules;
}

/// The rules that Debian installs with fontconfig and the fonts that tables are set up with. Others that a machine has beside
/// them, such as those of further fonts, are its own matter.
const std::vector<const char*> kDebianRules{"10-hinting-slight",
                                            "10-scale-bitmap-fonts",
                                            "10-yes-antialias",
                                            "11-lcdfilter-default",
                                            "20-unhint-small-vera",
                                            "30-metric-aliases",
                                            "40-nonlatin",
                                            "45-generic",
                                            "45-latin",
                                            "48-spacing",
                                            "49-sansserif",
                                            "50-user",
                                            "51-local",
                                            "57-dejavu-sans-mono",
                                            "57-dejavu-sans",
                                            "57-dejavu-serif",
                                            "60-generic",
                                            "60-latin",
                                            "65-fonts-persian",
                                            "65-nonlatin",
                                            "69-unifont",
                                            "70-fonts-noto-cjk",
                                            "70-no-bitmaps",
                                            "80-delicious",
                                            "90-synthetic"};

/// What fontconfig reads by itself, with kDebianRules in place of all files of the folder.
Configuration machineRules()
{
    QFile file(QStringLiteral("/etc/fonts/fonts.conf"));
    REQUIRE(file.open(QIODevice::ReadOnly));
    QByteArray text = file.readAll();
    const QByteArray folder = "<include ignore_missing=\"yes\">conf.d</include>";
    REQUIRE(text.count(folder) == 1);
    QByteArray files;
    for (const char* name : kDebianRules)
        files += QByteArray("<include ignore_missing=\"yes\">/etc/fonts/conf.d/") + name + ".conf</include>\n";
    text.replace(folder, files);
    Configuration rules(FcConfigCreate(), FcConfigDestroy);
    REQUIRE(FcConfigParseAndLoadFromMemory(rules.get(), bytes(text.constData()), FcTrue));
    REQUIRE(FcConfigBuildFonts(rules.get()));
    return rules;
}

std::string fileOf(const FcPattern& font)
{
    FcChar8* file = nullptr;
    int index = 0;
    FcPatternGetString(&font, FC_FILE, 0, &file);
    FcPatternGetInteger(&font, FC_INDEX, 0, &index);
    return file ? std::string(reinterpret_cast<const char*>(file)) + ' ' + std::to_string(index) : "none"; // NOLINT
}

/// What a text asks for; zeros and null are left open.
struct Wanted
{
    const char* family;
    int weight = 0;
    int slant = 0;
    const char* language = nullptr;
    FcChar32 character = 0;
};

Pattern pattern(FcConfig& rules, const Wanted& wanted)
{
    Pattern made(FcPatternCreate(), FcPatternDestroy);
    FcPatternAddString(made.get(), FC_FAMILY, bytes(wanted.family));
    if (wanted.weight > 0)
        FcPatternAddInteger(made.get(), FC_WEIGHT, wanted.weight);
    if (wanted.slant > 0)
        FcPatternAddInteger(made.get(), FC_SLANT, wanted.slant);
    if (wanted.language) {
        FcLangSet* const languages = FcLangSetCreate();
        FcLangSetAdd(languages, bytes(wanted.language));
        FcPatternAddLangSet(made.get(), FC_LANG, languages);
        FcLangSetDestroy(languages);
    }
    if (wanted.character != 0) {
        FcCharSet* const characters = FcCharSetCreate();
        FcCharSetAddChar(characters, wanted.character);
        FcPatternAddCharSet(made.get(), FC_CHARSET, characters);
        FcCharSetDestroy(characters);
    }
    FcConfigSubstitute(&rules, made.get(), FcMatchPattern);
    FcDefaultSubstitute(made.get());
    return made;
}

/// The chosen font, and how Qt would draw it.
std::string chosen(FcConfig& rules, const Wanted& wanted)
{
    FcResult result = FcResultNoMatch;
    const Pattern font(FcFontMatch(&rules, pattern(rules, wanted).get(), &result), FcPatternDestroy);
    if (!font)
        return "none";
    std::string text = fileOf(*font);
    for (const char* number : {FC_HINT_STYLE, FC_LCD_FILTER, FC_RGBA}) {
        int value = -1;
        FcPatternGetInteger(font.get(), number, 0, &value);
        text += ' ' + std::to_string(value);
    }
    for (const char* flag : {FC_ANTIALIAS, FC_AUTOHINT}) {
        FcBool value = -1;
        FcPatternGetBool(font.get(), flag, 0, &value);
        text += ' ' + std::to_string(value);
    }
    return text;
}

/// The families that stand for one, in the order in which they are looked for.
std::vector<std::string> familiesFor(FcConfig& rules, const char* family)
{
    const Pattern filled = pattern(rules, {family});
    std::vector<std::string> families;
    FcChar8* name = nullptr;
    for (int i = 0; FcPatternGetString(filled.get(), FC_FAMILY, i, &name) == FcResultMatch; ++i)
        families.emplace_back(reinterpret_cast<const char*>(name)); // NOLINT
    return families;
}

/// What a list has, which it takes.
std::set<std::string> texts(FcStrList* list)
{
    std::set<std::string> result;
    while (const FcChar8* text = FcStrListNext(list))
        result.emplace(reinterpret_cast<const char*>(text)); // NOLINT
    FcStrListDone(list);
    return result;
}

/// All fonts by how well they suit, as Qt asks for letters that the first one lacks.
std::vector<std::string> sorted(FcConfig& rules, const Wanted& wanted)
{
    FcResult result = FcResultNoMatch;
    const FontSet fonts(FcFontSort(&rules, pattern(rules, wanted).get(), FcTrue, nullptr, &result), FcFontSetDestroy);
    std::vector<std::string> files;
    for (int i = 0; i < fonts->nfont; ++i)
        files.push_back(fileOf(*fonts->fonts[i]));
    return files;
}

std::set<std::string> found(FcConfig& rules)
{
    const FcFontSet& fonts = *FcConfigGetFonts(&rules, FcSetSystem);
    std::set<std::string> files;
    for (int i = 0; i < fonts.nfont; ++i)
        files.insert(fileOf(*fonts.fonts[i]));
    return files;
}

/// Sets a variable of the environment for its lifetime.
class Variable
{
public:
    Variable(const char* name, const QByteArray& value)
        : m_name(name), m_wasSet(qEnvironmentVariableIsSet(name)), m_before(qgetenv(name))
    {
        qputenv(name, value);
    }
    ~Variable()
    {
        if (m_wasSet)
            qputenv(m_name, m_before);
        else
            qunsetenv(m_name);
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const char* m_name;
    bool m_wasSet;
    QByteArray m_before;
};

/// Fonts that differ in what is compared below, which are those that tables are set up with.
bool hasFonts(FcConfig& rules)
{
    const std::set<std::string> files = found(rules);
    const auto has = [&files](const char* name) {
        return std::any_of(files.begin(), files.end(), [name](const std::string& file) { return file.find(name) != file.npos; });
    };
    return has("/Inter-Regular") && has("/NotoSans-Regular") && has("/NotoSerif-Regular") && has("/NotoSansCJK-Regular");
}

const std::vector<const char*> kFamilies{"sans-serif",  "serif",  "monospace",     "sans",      "system-ui", "cursive",
                                         "emoji",       "math",   "Inter",         "Noto Sans", "Arial",     "Georgia",
                                         "Courier New", "Times",  "Comic Sans MS", "Consolas",  "Verdana",   "Nothing Like It",
                                         "Lato",        "Impact", "sans serif"};
}

TEST_CASE("font rules: the table finds the fonts that the machine finds")
{
    const Configuration table = tableRules();
    const Configuration machine = machineRules();
    REQUIRE(hasFonts(*machine));
    CHECK(found(*table) == found(*machine));
}

TEST_CASE("font rules: a name, weight and slant is the same font by the table's rules as by the machine's")
{
    const Configuration table = tableRules();
    const Configuration machine = machineRules();
    for (const char* family : kFamilies)
        for (const auto& [weight, slant] :
             {std::pair(0, 0), std::pair(50, 0), std::pair(100, 100), std::pair(200, 0), std::pair(210, 110)}) {
            CAPTURE(family);
            CAPTURE(weight);
            CAPTURE(slant);
            CHECK(chosen(*table, {family, weight, slant}) == chosen(*machine, {family, weight, slant}));
        }
}

TEST_CASE("font rules: each language and letter has the same font by the table's rules as by the machine's")
{
    const Configuration table = tableRules();
    const Configuration machine = machineRules();
    for (const char* family : {"sans-serif", "serif", "monospace", "Inter", "Georgia"}) {
        CAPTURE(family);
        for (const char* language : {"en", "de", "fi", "fr", "ru", "el", "ar", "fa", "he", "hi", "th", "ka", "am", "ja", "ko",
                                     "zh-cn", "zh-tw", "zh-hk"}) {
            CAPTURE(language);
            CHECK(chosen(*table, {family, 0, 0, language}) == chosen(*machine, {family, 0, 0, language}));
        }
        for (const FcChar32 character :
             {0x416u, 0x3a9u, 0x5d0u, 0x627u, 0x905u, 0xe01u, 0x10d0u, 0x3042u, 0x4e2du, 0xac00u, 0x1f600u, 0x2192u}) {
            CAPTURE(character);
            CHECK(chosen(*table, {family, 0, 0, nullptr, character}) == chosen(*machine, {family, 0, 0, nullptr, character}));
        }
    }
}

TEST_CASE("font rules: letters that a font lacks come from the same fonts in the same order")
{
    const Configuration table = tableRules();
    const Configuration machine = machineRules();
    for (const char* family : {"sans-serif", "serif", "monospace"})
        for (const char* language : {"en", "ar", "ja", "zh-tw", "th"}) {
            CAPTURE(family);
            CAPTURE(language);
            const std::vector<std::string> files = sorted(*table, {family, 0, 0, language});
            CHECK(files.size() > 10);
            CHECK(files == sorted(*machine, {family, 0, 0, language}));
        }
}

TEST_CASE("font rules: fonts that are not there have those of the same widths in their place, and then those of their kind")
{
    const Configuration table = tableRules();
    const struct
    {
        const char* family;
        const char* sameWidths; ///< null: none is known
        const char* kind;
    } rows[] = {{"Arial", "Arimo", "sans-serif"},
                {"Arial Narrow", "Liberation Sans Narrow", "sans-serif"},
                {"Helvetica", "Nimbus Sans", "sans-serif"},
                {"Calibri", "Carlito", "sans-serif"},
                {"Bitstream Vera Sans", "DejaVu Sans", "sans-serif"},
                {"Times New Roman", "Tinos", "serif"},
                {"Times", "Nimbus Roman", "serif"},
                {"Palatino Linotype", "Palatino", "serif"},
                {"Palatino", "P052", "serif"},
                {"Georgia", "Gelasio", "serif"},
                {"Cambria", "Caladea", "serif"},
                {"Bitstream Vera Serif", "DejaVu Serif", "serif"},
                {"Constantia", nullptr, "serif"},
                {"Garamond", nullptr, "serif"},
                {"Liberation Serif", nullptr, "serif"},
                {"Nimbus Roman", nullptr, "serif"},
                {"Courier New", "Cousine", "monospace"},
                {"Courier", "Nimbus Mono PS", "monospace"},
                {"Bitstream Vera Sans Mono", "DejaVu Sans Mono", "monospace"},
                {"Consolas", nullptr, "monospace"},
                {"Inconsolata", nullptr, "monospace"},
                {"Andale Mono", nullptr, "monospace"},
                {"Liberation Mono", nullptr, "monospace"},
                {"Nimbus Mono PS", nullptr, "monospace"},
                {"Comic Sans MS", nullptr, "cursive"},
                {"Zapfino", nullptr, "cursive"},
                {"Impact", nullptr, "fantasy"},
                {"Cantarell", nullptr, "system-ui"},
                {"Segoe UI", nullptr, "system-ui"}};
    for (const auto& row : rows) {
        CAPTURE(row.family);
        const std::vector<std::string> families = familiesFor(*table, row.family);
        REQUIRE(families.size() > 1);
        CHECK(families[0] == row.family);
        if (row.sameWidths)
            CHECK(families[1] == row.sameWidths);
        CHECK(std::count(families.begin(), families.end(), row.kind) > 0);
    }
}

TEST_CASE("font rules: the twin of a font that is not there goes before the fonts of its kind")
{
    const Configuration table = tableRules();
    for (const auto& [one, other] :
         {std::pair("Arial", "Helvetica"), std::pair("Times New Roman", "Times"), std::pair("Courier New", "Courier")})
        for (const auto& [family, twin] : {std::pair(one, other), std::pair(other, one)}) {
            CAPTURE(family);
            const std::vector<std::string> families = familiesFor(*table, family);
            const auto preferred = std::find_if(families.begin(), families.end(),
                                                [](const std::string& name) { return name.compare(0, 4, "Noto") == 0; });
            CHECK(preferred != families.end());
            CHECK(std::count(families.begin(), preferred, twin) == 1);
        }
}

TEST_CASE("font rules: generic names have a first choice, and other spellings")
{
    const Configuration table = tableRules();
    const struct
    {
        const char* name;
        const char* first;
    } rows[] = {{"sans-serif", "Noto Sans"}, {"sans", "Noto Sans"},           {"sans serif", "Noto Sans"},
                {"serif", "Noto Serif"},     {"monospace", "Noto Sans Mono"}, {"mono", "Noto Sans Mono"},
                {"cursive", "Zapfino"},      {"fantasy", "Impact"},           {"system-ui", "Cantarell"},
                {"system ui", "Cantarell"},  {"emoji", "Noto Color Emoji"}};
    for (const auto& row : rows) {
        CAPTURE(row.name);
        CHECK(familiesFor(*table, row.name).front() == row.first);
    }
}

TEST_CASE("font rules: the lists of fonts are kept where Debian keeps them, and read once")
{
    const Configuration table = tableRules();
    CHECK(FcConfigGetRescanInterval(table.get()) == 0);
    const std::set<std::string> kept = texts(FcConfigGetCacheDirs(table.get()));
    CHECK(kept.size() == 2);
    CHECK(kept.count("/var/cache/fontconfig") == 1);
    const std::set<std::string> folders = texts(FcConfigGetFontDirs(table.get()));
    CHECK(folders == texts(FcConfigGetFontDirs(machineRules().get())));
}

TEST_CASE("font rules: what the user has set is added to the table's rules, and goes before its preferences")
{
    CHECK(chosen(*tableRules(), {"sans-serif"}).find("/NotoSans-Regular") != std::string::npos);
    for (const char* name : {"fontconfig/fonts.conf", "fontconfig/conf.d/20-own.conf"}) {
        CAPTURE(name);
        const QTemporaryDir folder;
        REQUIRE(QDir(folder.path()).mkpath(QStringLiteral("fontconfig/conf.d")));
        QFile file(folder.filePath(QLatin1String(name)));
        REQUIRE(file.open(QIODevice::WriteOnly));
        file.write(
            "<fontconfig><alias><family>sans-serif</family><prefer><family>Noto Serif</family></prefer></alias></fontconfig>");
        file.close();
        const Variable home("XDG_CONFIG_HOME", QFile::encodeName(folder.path()));
        CHECK(chosen(*tableRules(), {"sans-serif"}).find("/NotoSerif-Regular") != std::string::npos);
    }
}

TEST_CASE("font rules: rules that the environment names stay in force")
{
    REQUIRE(Trellis::fontRules() == Trellis::FontRules::Machine);
    for (const char* name : {"FONTCONFIG_FILE", "FONTCONFIG_PATH", "FONTCONFIG_SYSROOT"}) {
        CAPTURE(name);
        const Variable named(name, "/etc/fonts/fonts.conf");
        CHECK(Trellis::useTableFontRules() == Trellis::FontRules::Machine);
        CHECK(Trellis::fontRules() == Trellis::FontRules::Machine);
    }
}
