#include "services/PeopleFile.hpp"

#include "Folder.hpp"

#include <LogCapture.hpp>

#include <doctest/doctest.h>

#include <random>

using namespace Host;

using TestSupport::expectWarning;

namespace
{
std::vector<Person> parsed(const char* text)
{
    bool complete = false;
    auto people = PeopleFile::parse(QString::fromUtf8(text), QStringLiteral("p.csv"), complete);
    CHECK(complete);
    return people;
}

/// Of a text in which something is skipped, with the warnings announced before.
std::vector<Person> partOf(const char* text)
{
    bool complete = true;
    auto people = PeopleFile::parse(QString::fromUtf8(text), QStringLiteral("p.csv"), complete);
    CHECK_FALSE(complete);
    return people;
}

Person person(unsigned long code, const char* name = "", const char* email = "", const char* contentKey = "", int kind = 0)
{
    return {code, QString::fromUtf8(name), QString::fromUtf8(email), QString::fromUtf8(contentKey), kind};
}

using FilePeople = std::vector<Person>;
}

TEST_CASE("people file: a line is a person")
{
    CHECK(parsed("code,name,email,content-key,kind\n"
                 "1001,Ann,ann@museum.example,key-1,personal\n"
                 "1002,,,,unregistered\n"
                 "1003,Bo,,,7\n")
          == FilePeople{person(1001, "Ann", "ann@museum.example", "key-1"), person(1002, "", "", "", 3),
                        person(1003, "Bo", "", "", 7)});
}

TEST_CASE("people file: columns stand in any order, all but the code may be missing")
{
    CHECK(parsed("email, Code ,NAME\na@b,5,Ann\n") == FilePeople{person(5, "Ann", "a@b")});
    CHECK(parsed("code\n5\n6") == FilePeople{person(5), person(6)});
    CHECK(parsed("code,name,email\n5\n6,Bo\n") == FilePeople{person(5), person(6, "Bo")});
    CHECK(parsed("code,name\n").empty());
}

TEST_CASE("people file: quotes keep commas, quotes and line breaks")
{
    CHECK(parsed("code,name,email\n"
                 "1,\"Smith, Ann\",a@b\n"
                 "2,\"Ann \"\"Bee\"\" Smith\",\n"
                 "3,\"two\r\nlines\",\n"
                 "\"4\", \"spaced\" ,\n"
                 "5,\"\",\"\"\n")
          == FilePeople{person(1, "Smith, Ann", "a@b"), person(2, "Ann \"Bee\" Smith"), person(3, "two\nlines"),
                        person(4, "spaced"), person(5)});
}

TEST_CASE("people file: every kind of line end will do, and blank lines do not matter")
{
    const FilePeople both{person(1, "Ann"), person(2, "Bo")};
    CHECK(parsed("code,name\r\n1,Ann\r\n2,Bo\r\n") == both);
    CHECK(parsed("code,name\r1,Ann\r2,Bo") == both);
    CHECK(parsed("\n\ncode,name\n\n1,Ann\n   \n2,Bo\n\n") == both);
}

TEST_CASE("people file: names of all scripts are kept")
{
    CHECK(parsed("code,name\n1,Jürgen Åström\n2,山田 花子\n3,ليلى حداد\n4,שלום\n5,😀\n")
          == FilePeople{person(1, "Jürgen Åström"), person(2, "山田 花子"), person(3, "ليلى حداد"), person(4, "שלום"),
                        person(5, "😀")});
}

TEST_CASE("people file: the whole range of codes is read")
{
    CHECK(parsed("code\n0\n9223372036854775808\n18446744073709551615\n")
          == FilePeople{person(0), person(9223372036854775808ul), person(18446744073709551615ul)});
}

TEST_CASE("people file: a byte order mark at the beginning is no part of the first column")
{
    const Folder folder;
    bool complete = false;
    CHECK(PeopleFile::read(folder.write(QStringLiteral("p.csv"),
                                        "\xEF\xBB\xBF"
                                        "code,name\r\n7,Jürgen\r\n"),
                           complete)
          == FilePeople{person(7, "Jürgen")});
    CHECK(complete);
}

TEST_CASE("people file: a line that cannot be read is reported by number and costs itself only")
{
    struct Row
    {
        const char* line;
        const char* why;
    };
    const Row rows[] = {
        {"x,Ann,", "'x' is no card code, a whole number is expected"},
        {",Ann,", "'' is no card code, a whole number is expected"},
        {"-1,Ann,", "'-1' is no card code, a whole number is expected"},
        {"1.5,Ann,", "'1.5' is no card code, a whole number is expected"},
        {"18446744073709551616,Ann,", "'18446744073709551616' is no card code, a whole number is expected"},
        {"5,Ann,friend", "'friend' is no kind; personal, unregistered or a number is expected"},
        {"5,Smith, Ann,personal", "4 fields for 3 columns (put quotes around a field with a comma)"},
        {"1,Ann,", "code 1 stands in line 2 already"},
        {"5,\"Ann,", "a quote is opened and not closed within 4096 characters"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.line);
        expectWarning(std::string("PeopleFile # p.csv:3: ") + row.why + "; the line is skipped");
        const QByteArray text = QByteArray("code,name,kind\n1,First,\n") + row.line + "\n2,Last,\n";
        CHECK(partOf(text.constData()) == FilePeople{person(1, "First"), person(2, "Last")});
    }
}

TEST_CASE("people file: line numbers go on counting through quotes and other line ends")
{
    expectWarning("PeopleFile # p.csv:5: 'x' is no card code, a whole number is expected; the line is skipped");
    CHECK(partOf("code,name\r\n1,\"a\r\nb\nc\"\r\nx,\r\n2,\n") == FilePeople{person(1, "a\nb\nc"), person(2)});
}

TEST_CASE("people file: two open quotes cost two lines")
{
    expectWarning("PeopleFile # p.csv:4: a quote is opened and not closed within 4096 characters; the line is skipped");
    CHECK(partOf("code,name\n1,\"Ann\n2,Bo\"\n3,\"Cy\n4,Di\n") == FilePeople{person(1, "Ann\n2,Bo"), person(4, "Di")});
}

TEST_CASE("people file: without a column of codes no people are read")
{
    const std::string why = ": the first line must name the columns, \"code\" among them "
                            "(code,name,email,content-key,kind,language); no people were read";
    for (const char* text :
         {"", "\n\n", "1001,Ann,ann@museum.example\n1002,Bo,\n", "name,email\nAnn,\n", "\"code,name\n1,Ann\n"}) {
        CAPTURE(text);
        expectWarning("PeopleFile # p.csv:1" + why);
        CHECK(partOf(text).empty());
    }
}

TEST_CASE("people file: a column that is not known is reported, and the rest is read")
{
    expectWarning("PeopleFile # p.csv:1: unknown column 'e-mail', known are code, name, email, content-key, kind, language; the "
                  "column is skipped");
    CHECK(partOf("code,e-mail,name\n1,a@b,Ann\n") == FilePeople{person(1, "Ann")});
}

TEST_CASE("people file: a text in another encoding is left empty, the card works")
{
    const Folder folder;
    const QString path = folder.write(QStringLiteral("p.csv"), "code,name,email\n1,J\xfcrgen,j@b\n2,Ann,\n");
    expectWarning("PeopleFile # " + path.toStdString()
                  + ":2: the name is no UTF-8 text (save the file as UTF-8); it is left empty");
    bool complete = true;
    CHECK(PeopleFile::read(path, complete) == FilePeople{person(1, "", "j@b"), person(2, "Ann")});
    CHECK_FALSE(complete);
}

TEST_CASE("people file: a missing file is reported, and no people are read")
{
    expectWarning("PeopleFile # Failed to read /none/p.csv (No such file or directory); no people were read");
    bool complete = true;
    CHECK(PeopleFile::read(QStringLiteral("/none/p.csv"), complete).empty());
    CHECK_FALSE(complete);
}

TEST_CASE("people file: blanks in quotes belong to a field, those around it do not")
{
    CHECK(parsed("code,name,email\n"
                 "1,  Ann\t, a@b \n"
                 "2,\"  Ann \", \" a@b\" \n"
                 "3,\"Ann\"  Smith ,\n"
                 "4,\"\" ,\" \"\n"
                 "\" 5 \",,\n")
          == FilePeople{person(1, "Ann", "a@b"), person(2, "  Ann ", " a@b"), person(3, "Ann  Smith"), person(4, "", " "),
                        person(5)});
}

TEST_CASE("people file: people that are written are read the same")
{
    const char* const texts[] = {"",
                                 "Ann",
                                 "Smith, Ann",
                                 "\"Ann\"",
                                 "Ann \"Bee\" Smith",
                                 "\"",
                                 "\"\"",
                                 ",",
                                 "a\nb",
                                 "\n",
                                 "\n\n",
                                 "  leading",
                                 "trailing  ",
                                 "\t",
                                 "\u00a0Ann",
                                 "Jürgen Åström",
                                 "山田 花子",
                                 "ليلى, حداد",
                                 "😀\"😀\n😀",
                                 "%1 100%2",
                                 "code,name",
                                 "1001",
                                 "'Ann'",
                                 "\"a\",\"b\"\n",
                                 "a;b",
                                 "\\",
                                 "#",
                                 "=1+1",
                                 "personal",
                                 "\"\n\"",
                                 "\xEF\xBB\xBF"
                                 "Ann",
                                 "-"};
    FilePeople people;
    unsigned long code = 0;
    for (const char* text : texts) {
        CAPTURE(text);
        people.push_back(person(++code, text));
        people.push_back(person(++code, "Ann", text));
        ++code;
        people.push_back(person(code, text, text, text, int(code % 5)));
    }
    people.push_back(person(18446744073709551615ul, "Max", "", "", -1));
    bool complete = false;
    CHECK(PeopleFile::parse(PeopleFile::format(people), QStringLiteral("p.csv"), complete) == people);
    CHECK(complete);
    // Each alone, too: a mistake in one must not be mended by the next.
    for (const Person& one : people) {
        CAPTURE(one.name.toStdString());
        CHECK(PeopleFile::parse(PeopleFile::format({one}), QStringLiteral("p.csv"), complete) == FilePeople{one});
        CHECK(complete);
    }
    CHECK(PeopleFile::parse(PeopleFile::format({}), QStringLiteral("p.csv"), complete).empty());
    CHECK(complete);
}

TEST_CASE("people file: people of any characters are read as they were written")
{
    const QString alphabet = QString::fromUtf8(",,\"\"\n\n  \tab;'ä花%");
    std::mt19937 random(7);
    const auto text = [&] {
        QString result;
        for (unsigned i = random() % 8; i > 0; --i)
            result += alphabet[int(random() % unsigned(alphabet.size()))];
        return result;
    };
    for (int round = 0; round < 300; ++round) {
        FilePeople people;
        for (unsigned long code = 1; code <= 4; ++code)
            people.push_back({code, text(), text(), text(), int(random() % 4)});
        const QString file = PeopleFile::format(people);
        CAPTURE(file.toStdString());
        bool complete = false;
        CHECK(PeopleFile::parse(file, QStringLiteral("p.csv"), complete) == people);
        CHECK(complete);
    }
}

TEST_CASE("people file: a kind is a word or a number, and a number that has a word is written as that")
{
    struct Row
    {
        const char* word;
        int kind;
        const char* name;
    };
    const Row rows[] = {{"", 0, "personal"},
                        {"personal", 0, "personal"},
                        {" Personal ", 0, "personal"},
                        {"UNREGISTERED", 3, "unregistered"},
                        {"0", 0, "personal"},
                        {"3", 3, "unregistered"},
                        {"7", 7, "7"},
                        {"-1", -1, "-1"}};
    for (const Row& row : rows) {
        CAPTURE(row.word);
        int kind = 99;
        CHECK(PeopleFile::parseKind(QLatin1String(row.word), kind));
        CHECK(kind == row.kind);
        CHECK(PeopleFile::kindName(kind).toStdString() == row.name);
    }
    for (const char* word : {"friend", "1.5", "0x3", "99999999999", "personal unregistered"}) {
        CAPTURE(word);
        int kind = 0;
        CHECK_FALSE(PeopleFile::parseKind(QLatin1String(word), kind));
    }
}

TEST_CASE("people file: a language is a tag in any case, and one that is none is left empty")
{
    const auto people = parsed("code,language\n1,de\n2, PT-br \n3,\n4,zh-hant-tw\n");
    REQUIRE(people.size() == 4);
    CHECK(people[0].language == "de");
    CHECK(people[1].language == "pt-br");
    CHECK(people[2].language.isEmpty());
    CHECK(people[3].language == "zh-hant-tw");
    bool complete = false;
    CHECK(PeopleFile::parse(PeopleFile::format(people), QStringLiteral("p.csv"), complete) == people);
    for (const char* word : {"german", "d", "de_DE", "de-", "de de", "d1", "de-abcdefghi"}) {
        CAPTURE(word);
        expectWarning("PeopleFile # p.csv:2: '" + std::string(word)
                      + "' is no language (expected is a tag such as de or pt-BR); it is left empty");
        const auto known = partOf(("code,language\n1," + std::string(word) + "\n").c_str());
        REQUIRE(known.size() == 1);
        CHECK(known[0].language.isEmpty());
    }
}

TEST_CASE("people file: a quoted field has a bound, and one that is longer costs its own line")
{
    const QString longest(4096, QLatin1Char('x'));
    expectWarning("PeopleFile # p.csv:3: a quote is opened and not closed within 4096 characters; the line is skipped");
    bool complete = true;
    const auto people = PeopleFile::parse(QStringLiteral("code,name\n1,\"%1\"\n2,\"%1xx\"\n3,Cy\n").arg(longest),
                                          QStringLiteral("p.csv"), complete);
    REQUIRE(people.size() == 2);
    CHECK(people[0].name == longest);
    CHECK(people[1].code == 3);
    CHECK_FALSE(complete);
}

TEST_CASE("people file: a NUL byte costs its line and ends nothing")
{
    const Folder folder;
    const QString path = folder.write(QStringLiteral("p.csv"), QByteArray("code,name\n1,A\0nn\n2,Ben\n", 23));
    expectWarning("PeopleFile # " + path.toStdString()
                  + ":2: it has a NUL byte (save the file as UTF-8 text); the line is skipped");
    bool complete = true;
    const auto people = PeopleFile::read(path, complete);
    REQUIRE(people.size() == 1);
    CHECK(people[0].name == QLatin1String("Ben"));
    CHECK_FALSE(complete);
}

TEST_CASE("people file: a NUL byte in the line of columns is reported, and no people are read")
{
    expectWarning("PeopleFile # p.csv:1: it has a NUL byte (save the file as UTF-8 text); no people were read");
    bool complete = true;
    CHECK(PeopleFile::parse(QString::fromLatin1("code,na\0me\n1,Ann\n", 18), QStringLiteral("p.csv"), complete).empty());
    CHECK_FALSE(complete);
}

TEST_CASE("people file: of very many mistakes the first hundred are reported, and how many more there are")
{
    QString text = QStringLiteral("code,name\n");
    for (int line = 2; line < 202; ++line) {
        text += QStringLiteral("x\n");
        if (line < 102)
            expectWarning("PeopleFile # p.csv:" + std::to_string(line)
                          + ": 'x' is no card code, a whole number is expected; the line is skipped");
    }
    expectWarning("PeopleFile # p.csv: 100 more mistakes like these; mend these, and read the file again");
    bool complete = true;
    const auto people = PeopleFile::parse(text + QStringLiteral("7,Ann\n"), QStringLiteral("p.csv"), complete);
    CHECK(people.size() == 1);
    CHECK_FALSE(complete);
}

TEST_CASE("people file: semicolons in place of commas are reported with the remedy")
{
    expectWarning(
        "PeopleFile # p.csv:1: the columns are separated by semicolons, as some spreadsheets save them: save the file with "
        "commas; no people were read");
    bool complete = true;
    CHECK(PeopleFile::parse(QStringLiteral("code;name\n1;Ann\n"), QStringLiteral("p.csv"), complete).empty());
    CHECK_FALSE(complete);
}

TEST_CASE("people file: an address that is none is reported with line and remedy and left empty, the card works")
{
    const Folder folder;
    const QByteArray text = "code,name,email\n1,Uma,umamuseum.example\n2,Bo, bo@museum.example\n3,Cy,\n";
    const QString path = folder.write(QStringLiteral("p.csv"), text);
    expectWarning("PeopleFile # " + path.toStdString()
                  + ":2: 'umamuseum.example' is no e-mail address (expected are a name, @ and a domain); it is left empty");
    bool complete = true;
    const auto people = PeopleFile::read(path, complete);
    REQUIRE(people.size() == 3);
    CHECK(people[0].name == "Uma");
    CHECK(people[0].email.isEmpty());
    CHECK(people[1].email == "bo@museum.example");
    CHECK_FALSE(complete);
    // What a registry wrote is read as it was.
    CHECK(PeopleFile::parse(QString::fromUtf8(text), QStringLiteral("p.csv"), complete)[0].email == "umamuseum.example");
    CHECK(complete);
}

TEST_CASE("people file: for a spreadsheet a text that begins a formula gets an apostrophe, every other stays")
{
    const struct
    {
        const char* name;
        const char* written;
    } rows[] = {
        {"=1+1", "'=1+1"},
        {"+49 30", "'+49 30"},
        {"-1", "'-1"},
        {"@sum", "'@sum"},
        {" =1", "' =1"},
        {"\t=1", "\"\t'=1\""},
        {"\uff1d1", "'\uff1d1"},
        {"Ann = Bo", "Ann = Bo"},
        {"", ""},
        {"O'Neil", "O'Neil"},
        {"=a,\"b\"", "\"'=a,\"\"b\"\"\""},
        {"x;=1+1;y", "x;'=1+1;y"},
        {"x; +1;-2;", "x;' +1;'-2;"},
        {"x\t@sum\ty", "x\t'@sum\ty"},
        {"x\n=1", "\"x\n'=1\""},
        {"x\r=1", "\"x\r'=1\""},
        {"=1;=2", "'=1;'=2"},
        {";\"=1\"", "\";'\"\"=1\"\"\""},
        {"a;b=1;c -2", "a;b=1;c -2"},
    };
    for (const auto& row : rows) {
        CAPTURE(std::string(row.name));
        const QString text = PeopleFile::format({{7, QString::fromUtf8(row.name), {}, {}, 0}}, PeopleFile::Formulas::Disarm);
        CHECK(text
              == QStringLiteral("code,name,email,content-key,kind,language\n7,%1,,,personal,\n")
                     .arg(QString::fromUtf8(row.written)));
    }
}

TEST_CASE("people file: a file beyond the limit is reported with its size and not read, nor is one without an end")
{
    const Folder folder;
    const QString path = folder.write(QStringLiteral("p.csv"), "code\n1\n");
    REQUIRE(QFile::resize(path, qint64(65) << 20));
    bool complete = true;
    expectWarning("PeopleFile # Failed to read " + path.toStdString()
                  + " (it has 65.0 MiB, the limit is 64 MiB); no people were read");
    CHECK(PeopleFile::read(path, complete).empty());
    CHECK_FALSE(complete);
    expectWarning("PeopleFile # Failed to read /dev/zero (it is a pipe or a device; save what it gives in a file and name "
                  "that); no people were read");
    CHECK(PeopleFile::read(QStringLiteral("/dev/zero"), complete).empty());
}
