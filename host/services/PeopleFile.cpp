#include "PeopleFile.hpp"

#include "CsvLines.hpp"
#include "MailAddress.hpp"

#include <Bedrock/BoundedFile.hpp>
#include <Bedrock/PersonalTexts.hpp>
#include <Bedrock/Trace.hpp>
#include <Tavola/TesselServiceAPI.hpp>

#include <QHash>
#include <QMap>
#include <QRegularExpression>
#include <QStringList>

#include <algorithm>

namespace Host
{
namespace
{
using Kind = Tavola::TesselServiceAPI::MarkerProperties;

/// More mistakes than these are counted only: a file of something else has one in each of a million lines.
constexpr int kMostComplaints = 100;
/// A hundred thousand people take about a tenth of it.
constexpr int kLargestFileMiB = 64;

/// With an apostrophe wherever a spreadsheet that opens the file may find a formula: at the beginning, and after what a
/// spreadsheet that separates columns by semicolons or tabs takes for the end of a field or line. Quotes may be read away there.
QString withoutFormulas(const QString& field)
{
    static const QString ends = QString::fromUtf8(";\t\n\r");
    // The last four are the full-width forms.
    static const QString begins = QString::fromUtf8("=+-@\xEF\xBC\x9D\xEF\xBC\x8B\xEF\xBC\x8D\xEF\xBC\xA0");
    QString result = field;
    int begin = 0;
    for (int i = 0; i < result.size(); ++i) {
        const QChar c = result.at(i);
        if (begin >= 0 && begins.contains(c)) {
            result.insert(begin, QLatin1Char('\''));
            ++i;
            begin = -1;
        } else if (ends.contains(c)) {
            begin = i + 1;
        } else if (!c.isSpace() && c != QLatin1Char('"')) {
            begin = -1; // the rest of this piece is plain text
        }
    }
    return result;
}

/// Reads one file's text; what is skipped is logged.
class Reader
{
public:
    Reader(const QString& text, const QString& fileName, PeopleFile::Addresses addresses)
        : m_lines(text), m_file(fileName.toUtf8()), m_addresses(addresses)
    {
    }

    std::vector<Person> read()
    {
        if (!readColumns())
            return {};
        CsvLine line;
        while (m_lines.next(line))
            if (!line.isBlank())
                readPerson(line);
        if (m_complaints > kMostComplaints)
            Bedrock::Trace::warning("PeopleFile # %s: %d more mistakes like these; mend these, and read the file again",
                                    m_file.constData(), m_complaints - kMostComplaints);
        return std::move(m_people);
    }
    [[nodiscard]] bool isComplete() const { return m_complete; }

private:
    void warn(int line, const QString& what)
    {
        m_complete = false;
        if (++m_complaints > kMostComplaints)
            return;
        Bedrock::Trace::warning("PeopleFile # %s:%d: %s", m_file.constData(), line, what.toUtf8().constData());
    }
    void skipLine(const CsvLine& line, const QString& why) { warn(line.number, why + QStringLiteral("; the line is skipped")); }

    bool readColumns()
    {
        CsvLine line;
        while (m_lines.next(line) && line.isBlank()) {}
        if (line.isBlank() || line.number == 0)
            line.number = 1;
        static const QStringList known{"code", "name", "email", "content-key", "kind", "language"};
        QStringList unknown;
        for (int i = 0; i < line.fields.size(); ++i) {
            const QString name = line.fields[i].trimmed().toLower();
            if (known.contains(name))
                m_columns.insert(name, i);
            else
                unknown << name;
        }
        m_columnCount = line.fields.size();
        if (line.hasNul()) {
            warn(line.number, QStringLiteral("it has a NUL byte (save the file as UTF-8 text); no people were read"));
            return false;
        }
        if (!m_columns.contains(QStringLiteral("code")) && line.fields.value(0).contains(QLatin1Char(';'))) {
            warn(line.number,
                 QStringLiteral(
                     "the columns are separated by semicolons, as some spreadsheets save them: save the file with commas; "
                     "no people were read"));
            return false;
        }
        if (!m_columns.contains(QStringLiteral("code"))) {
            warn(line.number,
                 QStringLiteral("the first line must name the columns, \"code\" among them "
                                "(code,name,email,content-key,kind,language); no people were read"));
            return false;
        }
        for (const QString& name : unknown.mid(0, kMostComplaints))
            warn(line.number,
                 QStringLiteral("unknown column '%1', known are %2; the column is skipped")
                     .arg(name, known.join(QStringLiteral(", "))));
        return true;
    }

    QString field(const CsvLine& line, const char* column) const
    {
        return line.fields.value(m_columns.value(QLatin1String(column), -1));
    }

    /// As `field`; empty, with a warning, for invalid UTF-8.
    QString text(const CsvLine& line, const char* column)
    {
        const QString value = field(line, column);
        if (!value.contains(QChar(QChar::ReplacementCharacter)))
            return value;
        warn(line.number,
             QStringLiteral("the %1 is no UTF-8 text (save the file as UTF-8); it is left empty").arg(QLatin1String(column)));
        return {};
    }

    QString mailAddress(const CsvLine& line)
    {
        const QString address = text(line, "email");
        if (address.isEmpty() || m_addresses == PeopleFile::Addresses::AsTheyAre || isMailAddress(address.trimmed()))
            return address;
        warn(line.number,
             QStringLiteral("'%1' is no e-mail address (expected are a name, @ and a domain); it is left empty").arg(address));
        return {};
    }

    QString language(const CsvLine& line)
    {
        QString language;
        if (!PeopleFile::parseLanguage(field(line, "language"), language))
            warn(line.number,
                 QStringLiteral("'%1' is no language (expected is a tag such as de or pt-BR); it is left empty")
                     .arg(field(line, "language")));
        return language;
    }

    void readPerson(const CsvLine& line)
    {
        if (line.openQuote)
            return skipLine(line,
                            QStringLiteral("a quote is opened and not closed within %1 characters").arg(CsvLines::kLongestField));
        if (line.hasNul())
            return skipLine(line, QStringLiteral("it has a NUL byte (save the file as UTF-8 text)"));
        if (line.fields.size() > m_columnCount)
            return skipLine(line,
                            QStringLiteral("%1 fields for %2 columns (put quotes around a field with a comma)")
                                .arg(line.fields.size())
                                .arg(m_columnCount));
        for (const char* column : {"name", "email"})
            Bedrock::PersonalTexts::remember(field(line, column));
        Person person;
        bool isCode = false;
        person.code = field(line, "code").trimmed().toULong(&isCode);
        if (!isCode) // perhaps a name in the wrong column
            Bedrock::PersonalTexts::remember(field(line, "code"));
        if (!isCode)
            return skipLine(line, QStringLiteral("'%1' is no card code, a whole number is expected").arg(field(line, "code")));
        if (!PeopleFile::parseKind(field(line, "kind"), person.kind))
            return skipLine(
                line, QStringLiteral("'%1' is no kind; personal, unregistered or a number is expected").arg(field(line, "kind")));
        if (const int earlier = m_lineOfCode.value(person.code))
            return skipLine(line, QStringLiteral("code %1 stands in line %2 already").arg(person.code).arg(earlier));
        m_lineOfCode.insert(person.code, line.number);
        person.name = text(line, "name");
        person.email = mailAddress(line);
        person.contentKey = text(line, "content-key");
        person.language = language(line);
        m_people.push_back(std::move(person));
    }

    CsvLines m_lines;
    QByteArray m_file;
    const PeopleFile::Addresses m_addresses;
    QMap<QString, int> m_columns;
    int m_columnCount = 0;
    QHash<quint64, int> m_lineOfCode;
    std::vector<Person> m_people;
    bool m_complete = true;
    int m_complaints = 0;
};
}

std::vector<Person> PeopleFile::parse(const QString& text, const QString& fileName, bool& complete, Addresses addresses)
{
    Reader reader(text, fileName, addresses);
    auto people = reader.read();
    complete = reader.isComplete();
    return people;
}

std::vector<Person> PeopleFile::read(const QString& path, bool& complete)
{
    QString error;
    auto read = Bedrock::readBoundedFile(path, kLargestFileMiB, error);
    if (!read) {
        complete = false;
        Bedrock::Trace::warning("PeopleFile # Failed to read %s (%s); no people were read", path.toUtf8().constData(),
                                error.toUtf8().constData());
        return {};
    }
    QByteArray& bytes = *read;
    if (bytes.startsWith("\xEF\xBB\xBF"))
        bytes.remove(0, 3);
    // With its size: a NUL byte does not end it.
    return parse(QString::fromUtf8(bytes.constData(), bytes.size()), path, complete, Addresses::Checked);
}

bool PeopleFile::parseKind(const QString& text, int& kind)
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

bool PeopleFile::parseLanguage(const QString& text, QString& language)
{
    static const QRegularExpression tag(QStringLiteral("\\A[a-z]{2,3}(-[a-z0-9]{2,8}){0,3}\\z"));
    const QString word = text.trimmed().toLower();
    const bool isTag = word.isEmpty() || tag.match(word).hasMatch();
    language = isTag ? word : QString();
    return isTag;
}

QString PeopleFile::kindName(int kind)
{
    if (kind == Kind::kPersonal)
        return QStringLiteral("personal");
    if (kind == Kind::kUnregistered)
        return QStringLiteral("unregistered");
    return QString::number(kind);
}

QString PeopleFile::format(const std::vector<Person>& people, Formulas formulas)
{
    const auto quoted = [formulas](QString field) {
        if (formulas == Formulas::Disarm)
            field = withoutFormulas(field);
        static const QString special = QStringLiteral(",\"\n\r");
        const bool needsQuotes =
            field != field.trimmed() || std::any_of(field.cbegin(), field.cend(), [](QChar c) { return special.contains(c); });
        if (!needsQuotes)
            return field;
        return QLatin1Char('"') + field.replace(QLatin1Char('"'), QLatin1String("\"\"")) + QLatin1Char('"');
    };
    QString text = QStringLiteral("code,name,email,content-key,kind,language\n");
    for (const Person& person : people)
        text += QStringLiteral("%1,%2,%3,%4,%5,%6\n")
                    .arg(QString::number(person.code), quoted(person.name), quoted(person.email), quoted(person.contentKey),
                         kindName(person.kind), person.language);
    return text;
}
}
