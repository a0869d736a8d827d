#include <Tavola/KeyboardLayout.hpp>

#include "keyboard/DeadKeys.hpp"

#include <Bedrock/Trace.hpp>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <deque>
#include <utility>

namespace Tavola
{
namespace
{
using Action = KeyboardKey::Action;

constexpr double kLeastWidth = 0.25;
constexpr double kMostWidth = 20.0;
const QStringList kBuiltIn{QStringLiteral("en"), QStringLiteral("de"), QStringLiteral("fi"), QStringLiteral("fr")};

const std::pair<QString, Action> kActions[] = {
    {QStringLiteral("space"), Action::Space},         {QStringLiteral("shift"), Action::Shift},
    {QStringLiteral("backspace"), Action::Backspace}, {QStringLiteral("enter"), Action::Enter},
    {QStringLiteral("symbols"), Action::Symbols},     {QStringLiteral("language"), Action::Language},
    {QStringLiteral("left"), Action::Left},           {QStringLiteral("right"), Action::Right},
    {QStringLiteral("hide"), Action::Hide},           {QStringLiteral("gap"), Action::Gap}};

class Reader
{
public:
    explicit Reader(const QString& fileName) : m_file(fileName.toUtf8()) {}

    KeyboardLayout::Rows rows(const QJsonObject& root, const char* member) const
    {
        KeyboardLayout::Rows result;
        const QJsonValue value = root.value(QLatin1String(member));
        if (value.isUndefined())
            return result;
        const QString place = QLatin1String(member);
        if (!value.isArray()) {
            skip(place, "expected a list of rows; it is skipped");
            return result;
        }
        const QJsonArray array = value.toArray();
        for (int i = 0; i < array.size(); ++i) {
            const QString rowPlace = QStringLiteral("%1[%2]").arg(place, QString::number(i));
            if (!array.at(i).isArray()) {
                skip(rowPlace, "expected a list of keys; the row is skipped");
                continue;
            }
            const QJsonArray keys = array.at(i).toArray();
            std::vector<KeyboardKey> row;
            for (int k = 0; k < keys.size(); ++k) {
                KeyboardKey key;
                if (const char* wrong = readKey(keys.at(k), key))
                    skip(QStringLiteral("%1[%2]").arg(rowPlace, QString::number(k)), QByteArray(wrong) + "; the key is skipped");
                else
                    row.push_back(std::move(key));
            }
            if (!row.empty())
                result.push_back(std::move(row));
        }
        return result;
    }

    void skip(const QString& place, const QByteArray& what) const
    {
        Bedrock::Trace::warning("KeyboardLayout # %s: %s: %s", m_file.constData(), place.toUtf8().constData(), what.constData());
    }

private:
    /// What is wrong, or null.
    static const char* readKey(const QJsonValue& value, KeyboardKey& key)
    {
        if (value.isString())
            return readText(value.toString(), key);
        if (!value.isObject())
            return "expected a text of one or two characters or an object with \"text\", \"dead\" or \"action\"";
        const QJsonObject object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it) {
            const QString& name = it.key();
            const bool isText = name == QLatin1String("text") || name == QLatin1String("shift") || name == QLatin1String("dead")
                || name == QLatin1String("action");
            if (!isText && name != QLatin1String("width"))
                return "unknown entry; known are text, shift, dead, action, width";
            if (isText && (!it.value().isString() || it.value().toString().isEmpty()))
                return "expected texts for \"text\", \"shift\", \"dead\" and \"action\"";
        }
        if (object.contains(QLatin1String("width"))) {
            const double width = object.value(QLatin1String("width")).toDouble(-1.0);
            if (!(width >= kLeastWidth && width <= kMostWidth))
                return "expected a \"width\" from 0.25 to 20";
            key.width = float(width);
        }
        const QString text = object.value(QLatin1String("text")).toString();
        const QString dead = object.value(QLatin1String("dead")).toString();
        const QString action = object.value(QLatin1String("action")).toString();
        if (int(text.isEmpty()) + int(dead.isEmpty()) + int(action.isEmpty()) != 2)
            return "expected one of \"text\", \"dead\" and \"action\"";
        if (!action.isEmpty())
            return readAction(action, key);
        key.action = dead.isEmpty() ? Action::Text : Action::Dead;
        key.text = text + dead;
        key.shifted = object.value(QLatin1String("shift")).toString();
        if (key.shifted.isEmpty())
            key.shifted = dead.isEmpty() ? key.text.toUpper() : key.text;
        if (key.action == Action::Dead && !(DeadKeys::isAccent(key.text) && DeadKeys::isAccent(key.shifted)))
            return "a dead key is one of \xC2\xB4 ` ^ \xC2\xA8 ~";
        return nullptr;
    }

    static const char* readText(const QString& written, KeyboardKey& key)
    {
        const auto characters = written.toUcs4();
        if (characters.isEmpty() || characters.size() > 2)
            return "expected a text of one or two characters";
        key.text = QString::fromUcs4(characters.constData(), 1);
        key.shifted = characters.size() == 2 ? QString::fromUcs4(characters.constData() + 1, 1) : key.text.toUpper();
        return nullptr;
    }

    static const char* readAction(const QString& name, KeyboardKey& key)
    {
        for (const auto& action : kActions) {
            if (action.first != name)
                continue;
            key.action = action.second;
            if (key.action == Action::Space)
                key.text = key.shifted = QStringLiteral(" ");
            return nullptr;
        }
        return "unknown action; known are space, shift, backspace, enter, symbols, language, left, right, hide, gap";
    }

    QByteArray m_file;
};

std::optional<KeyboardLayout> readResource(const QString& name)
{
    QFile file(QStringLiteral(":/tavola/keyboards/%1.json").arg(name));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return KeyboardLayout::read(file.readAll(), name + QStringLiteral(".json"));
}

/// A deque: layouts stay where they are when others are added.
std::deque<KeyboardLayout>& layouts()
{
    static std::deque<KeyboardLayout> all = [] {
        std::deque<KeyboardLayout> read;
        const auto symbols = readResource(QStringLiteral("symbols"));
        for (const QString& name : kBuiltIn) {
            auto layout = readResource(name);
            if (!layout)
                continue;
            if (layout->symbols.empty() && symbols)
                layout->symbols = symbols->letters;
            read.push_back(std::move(*layout));
        }
        return read;
    }();
    return all;
}
}

std::optional<KeyboardLayout> KeyboardLayout::read(const QByteArray& json, const QString& fileName)
{
    const Reader reader(fileName);
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (!document.isObject()) {
        const QByteArray before = json.left(error.offset);
        const int line = int(before.count('\n')) + 1;
        const int column = before.size() - before.lastIndexOf('\n');
        const QString what = document.isNull() ? error.errorString() : QStringLiteral("expected an object");
        reader.skip(QStringLiteral("%1:%2").arg(line).arg(column), what.toUtf8() + "; the layout is skipped");
        return std::nullopt;
    }
    const QJsonObject root = document.object();
    KeyboardLayout layout;
    layout.name = root.value(QLatin1String("name")).toString();
    layout.label = root.value(QLatin1String("label")).toString(layout.name.toUpper());
    layout.title = root.value(QLatin1String("title")).toString(layout.label);
    layout.letters = reader.rows(root, "letters");
    layout.symbols = reader.rows(root, "symbols");
    if (layout.name.isEmpty()) {
        reader.skip(QStringLiteral("name"), "expected a name; the layout is skipped");
        return std::nullopt;
    }
    if (layout.letters.empty()) {
        reader.skip(QStringLiteral("letters"), "there is no key; the layout is skipped");
        return std::nullopt;
    }
    return layout;
}

QStringList KeyboardLayout::names()
{
    QStringList result;
    for (const KeyboardLayout& layout : layouts())
        result.append(layout.name);
    return result;
}

const KeyboardLayout* KeyboardLayout::find(const QString& name)
{
    for (const KeyboardLayout& layout : layouts())
        if (layout.name == name)
            return &layout;
    return nullptr;
}

void KeyboardLayout::add(KeyboardLayout layout)
{
    auto& all = layouts();
    if (layout.symbols.empty() && !all.empty())
        layout.symbols = all.front().symbols;
    const auto same =
        std::find_if(all.begin(), all.end(), [&](const KeyboardLayout& other) { return other.name == layout.name; });
    if (same != all.end())
        *same = std::move(layout);
    else
        all.push_back(std::move(layout));
}
}
