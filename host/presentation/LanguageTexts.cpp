#include "presentation/LanguageTexts.hpp"

#include "presentation/TextPosition.hpp"
#include "services/PeopleFile.hpp"

#include <Bedrock/BoundedFile.hpp>
#include <Bedrock/Trace.hpp>

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cctype>
#include <map>
#include <optional>

namespace Host
{
namespace
{
constexpr int kLargestTextsMiB = 1;
const QLatin1String kLastResort("en");

void warn(const QString& file, int line, const QString& what)
{
    Bedrock::Trace::warning("LanguageTexts # %s:%d: %s", file.toUtf8().constData(), line, what.toUtf8().constData());
}

/// The line on which an object's entry of this name stands.
int lineOf(const QByteArray& json, const QString& name)
{
    const QByteArray key = '"' + name.toUtf8() + '"';
    for (int at = json.indexOf(key); at >= 0; at = json.indexOf(key, at + 1)) {
        int end = at + key.size();
        while (end < json.size() && std::isspace(static_cast<unsigned char>(json[end])))
            ++end;
        if (end < json.size() && json[end] == ':')
            return 1 + int(std::count(json.begin(), json.begin() + at, '\n'));
    }
    return 1 + json.count('\n');
}

/// A letter, then letters, digits and hyphens, all in lower case.
bool isNameOfText(const QString& text)
{
    const auto isLetter = [](QChar c) { return c >= QLatin1Char('a') && c <= QLatin1Char('z'); };
    return !text.isEmpty() && isLetter(text[0]) && std::all_of(text.begin(), text.end(), [&isLetter](QChar c) {
        return isLetter(c) || (c >= QLatin1Char('0') && c <= QLatin1Char('9')) || c == QLatin1Char('-');
    });
}

std::optional<LanguageTexts> readFile(const QFileInfo& info)
{
    LanguageTexts result;
    result.file = info.absoluteFilePath();
    if (!PeopleFile::parseLanguage(info.completeBaseName(), result.tag) || result.tag.isEmpty()) {
        warn(result.file, 1,
             QStringLiteral(
                 "the name of the file is no language (expected is a tag, as in de.json or pt-BR.json); it is skipped"));
        return std::nullopt;
    }
    QString error;
    const auto bytes = Bedrock::readBoundedFile(result.file, kLargestTextsMiB, error);
    if (!bytes) {
        warn(result.file, 1, QStringLiteral("it cannot be read (%1); its texts are missing").arg(error));
        return std::nullopt;
    }
    QJsonParseError fault;
    const QJsonDocument document = QJsonDocument::fromJson(*bytes, &fault);
    if (!document.isObject()) {
        warn(result.file, TextPosition::of(*bytes, document.isNull() ? fault.offset - 1 : 0).line,
             QStringLiteral("%1; its texts are missing")
                 .arg(document.isNull() ? fault.errorString() : QStringLiteral("expected an object of names and texts")));
        return std::nullopt;
    }
    const QJsonObject object = document.object();
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        const int line = lineOf(*bytes, entry.key());
        if (!isNameOfText(entry.key()))
            warn(result.file, line,
                 QStringLiteral("\"%1\" is no name of a text (a letter, then letters, digits and hyphens, all in lower case); it "
                                "is skipped")
                     .arg(entry.key()));
        else if (!entry.value().isString())
            warn(result.file, line, QStringLiteral("%1: expected a text; it is skipped").arg(entry.key()));
        else
            result.texts.push_back({entry.key(), entry.value().toString(), line});
    }
    return result;
}

/// Reports what one file of a folder has and another lacks.
void compare(std::vector<LanguageTexts>::const_iterator begin, std::vector<LanguageTexts>::const_iterator end)
{
    std::map<QString, const LanguageTexts*> owners; // the first file that has a text
    for (auto language = begin; language != end; ++language)
        for (const LanguageTexts::Text& text : language->texts)
            owners.emplace(text.name, &*language);
    for (auto language = begin; language != end; ++language)
        for (const auto& [name, owner] : owners) {
            const auto isIt = [&name = name](const LanguageTexts::Text& text) { return text.name == name; };
            if (std::any_of(language->texts.begin(), language->texts.end(), isIt))
                continue;
            const int line = std::find_if(owner->texts.begin(), owner->texts.end(), isIt)->line;
            warn(language->file, 1,
                 QStringLiteral("there is no text \"%1\", which %2:%3 has; that of the table's language is shown")
                     .arg(name, QFileInfo(owner->file).fileName(), QString::number(line)));
        }
}

QString cssString(QString text)
{
    // A hexadecimal escape ends with a blank.
    text.replace(QLatin1Char('\\'), QLatin1String("\\\\")).replace(QLatin1Char('"'), QLatin1String("\\\""));
    text.replace(QLatin1Char('\n'), QLatin1String("\\a "));
    return QLatin1Char('"') + text + QLatin1Char('"');
}
}

std::vector<LanguageTexts> LanguageTexts::read(const QStringList& folders)
{
    std::vector<LanguageTexts> result;
    for (const QString& folder : folders) {
        const auto first = std::ptrdiff_t(result.size());
        for (const QFileInfo& info : QDir(folder).entryInfoList({QStringLiteral("*.json")}, QDir::Files, QDir::Name))
            if (auto language = readFile(info))
                result.push_back(std::move(*language));
        std::sort(result.begin() + first, result.end(),
                  [](const LanguageTexts& a, const LanguageTexts& b) { return a.tag < b.tag; });
        compare(result.cbegin() + first, result.cend());
    }
    return result;
}

QString LanguageTexts::styleSheet(const QString& selector) const
{
    QString css = selector + QLatin1String(" {");
    for (const Text& text : texts)
        css += QLatin1String(" --") + text.name + QLatin1String(": ") + cssString(text.text) + QLatin1Char(';');
    return css + QLatin1String(" }");
}

std::vector<LanguageSheet> languageSheets(const std::vector<LanguageTexts>& languages, const QString& tableLanguage)
{
    std::vector<LanguageSheet> result;
    const auto add = [&](const QString& tag, const QString& selector) {
        for (const LanguageTexts& language : languages)
            if (language.tag == tag)
                result.push_back({language.styleSheet(selector), language.file});
    };
    const QString everywhere = QStringLiteral(":root");
    if (tableLanguage != kLastResort)
        add(kLastResort, everywhere);
    // "pt" before "pt-br", whose texts replace it.
    for (int end = 0; end >= 0 && !tableLanguage.isEmpty();) {
        end = tableLanguage.indexOf(QLatin1Char('-'), end + 1);
        add(tableLanguage.left(end), everywhere);
    }
    QStringList tags;
    for (const LanguageTexts& language : languages)
        tags << language.tag;
    tags.removeDuplicates();
    tags.sort();
    for (const QString& tag : tags)
        add(tag, QStringLiteral(":lang(%1):not(:lang(%1) > *)").arg(tag)); // where it begins: what is inside inherits them
    return result;
}
}
