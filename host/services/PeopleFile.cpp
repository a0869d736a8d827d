#include "PeopleFile.hpp"

#include <Bedrock/Trace.hpp>
#include <Tavola/TesselServiceAPI.hpp>

#include <QFile>
#include <QMap>
#include <QSet>
#include <QStringList>

namespace
{
using Kind = Tavola::TesselServiceAPI::MarkerProperties;

struct Line
{
    int number = 0;
    QStringList fields;
    bool openQuote = false;
};

/// Splits a text into lines of fields.
class Splitter
{
public:
    explicit Splitter(const QString& text) : m_text(text) {}

    bool next(Line& line)
    {
        if (m_at >= m_text.size())
            return false;
        line = Line();
        line.number = m_line;
        QString field;
        bool quoted = false;
        while (m_at < m_text.size()) {
            const QChar c = m_text[m_at++];
            if (c == QLatin1Char('\n'))
                ++m_line;
            if (quoted) {
                if (c != QLatin1Char('"'))
                    field += c;
                else if (m_at < m_text.size() && m_text[m_at] == QLatin1Char('"'))
                    field += m_text[m_at++];
                else
                    quoted = false;
            } else if (c == QLatin1Char('"') && field.trimmed().isEmpty()) {
                field.clear();
                quoted = true;
            } else if (c == QLatin1Char(',')) {
                line.fields << field;
                field.clear();
            } else if (c == QLatin1Char('\n')) {
                break;
            } else if (c != QLatin1Char('\r')) {
                field += c;
            }
        }
        line.openQuote = quoted;
        line.fields << field;
        return true;
    }

private:
    const QString& m_text;
    int m_at = 0;
    int m_line = 1;
};

bool parseKind(const QString& text, int& kind)
{
    const QString word = text.trimmed().toLower();
    bool ok = true;
    if (word.isEmpty() || word == QLatin1String("personal"))
        kind = Kind::kPersonal;
    else if (word == QLatin1String("unregistered"))
        kind = Kind::kUnregistered;
    else
        kind = word.toInt(&ok);
    return ok;
}
}

std::vector<Person> PeopleFile::parse(const QString& text, const QString& fileName, bool& complete)
{
    complete = true;
    const auto skip = [&](int line, const QString& why) {
        complete = false;
        Bedrock::Trace::warning("PeopleFile # %s:%d: %s; the line is skipped", fileName.toUtf8().constData(), line,
                                why.toUtf8().constData());
    };

    std::vector<Person> people;
    Splitter splitter(text);
    Line line;
    QMap<QString, int> columns;
    while (columns.isEmpty() && splitter.next(line)) {
        if (line.fields.size() == 1 && line.fields[0].trimmed().isEmpty())
            continue;
        for (int i = 0; i < line.fields.size(); ++i)
            columns.insert(line.fields[i].trimmed().toLower(), i);
    }
    if (!columns.contains(QStringLiteral("code"))) {
        complete = false;
        Bedrock::Trace::warning("PeopleFile # %s:1: the first line must name the columns, \"code\" among them "
                                "(code,name,email,content-key,kind); nobody was read",
                                fileName.toUtf8().constData());
        return people;
    }
    const auto field = [&](const char* column) {
        return line.fields.value(columns.value(QLatin1String(column), -1)).trimmed();
    };

    QSet<quint64> seen;
    while (splitter.next(line)) {
        if (line.fields.size() == 1 && line.fields[0].trimmed().isEmpty())
            continue;
        if (line.openQuote) {
            skip(line.number, QStringLiteral("a quote is opened and never closed"));
            continue;
        }
        Person person;
        bool ok = false;
        person.code = field("code").toULongLong(&ok);
        if (!ok) {
            skip(line.number, QStringLiteral("'%1' is no card code, a whole number is expected").arg(field("code")));
            continue;
        }
        if (!parseKind(field("kind"), person.kind)) {
            skip(line.number, QStringLiteral("'%1' is no kind; personal, unregistered or a number is expected").arg(field("kind")));
            continue;
        }
        if (seen.contains(person.code)) {
            skip(line.number, QStringLiteral("code %1 stood in an earlier line").arg(person.code));
            continue;
        }
        seen.insert(person.code);
        person.name = field("name");
        person.email = field("email");
        person.contentKey = field("content-key");
        people.push_back(person);
    }
    return people;
}

std::vector<Person> PeopleFile::read(const QString& path, bool& complete)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        complete = false;
        Bedrock::Trace::warning("PeopleFile # Failed to read %s (%s); nobody was read", path.toUtf8().constData(),
                                file.errorString().toUtf8().constData());
        return {};
    }
    QByteArray bytes = file.readAll();
    if (bytes.startsWith("\xEF\xBB\xBF"))
        bytes.remove(0, 3);
    return parse(QString::fromUtf8(bytes), path, complete);
}
