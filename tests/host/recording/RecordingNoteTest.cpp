#include "recording/RecordingNote.hpp"

#include <doctest/doctest.h>

using namespace Host;

TEST_CASE("recording note: what it says of a table is read again as it was")
{
    RecordingNote note;
    note.presentation = QStringLiteral("/srv/shows/das \"große\" Haus");
    note.mediaServers = QStringList{"hall", "", "garden, left"};
    note.people = QStringLiteral("code,name,email,content-key,kind\n1001,Änne,,,\n");
    const RecordingNote read = RecordingNote::fromText(note.toText());
    CHECK(read.presentation == note.presentation);
    CHECK(read.mediaServers == note.mediaServers);
    CHECK(read.people == note.people);
}

TEST_CASE("recording note: what the text does not contain is empty")
{
    for (const char* text : {"", "no note", "[]", "{}", R"({"presentation": 3, "mediaServers": "hall", "people": null})"}) {
        CAPTURE(text);
        const RecordingNote read = RecordingNote::fromText(text);
        CHECK(read.presentation.isEmpty());
        CHECK(read.mediaServers.isEmpty());
        CHECK(read.people.isEmpty());
    }
    const RecordingNote some = RecordingNote::fromText(R"({"mediaServers": ["hall"], "weather": "rain"})");
    CHECK(some.presentation.isEmpty());
    CHECK(some.mediaServers == QStringList{"hall"});
}

TEST_CASE("recording note: shortened it says the same of the table, and of people only the first letters")
{
    RecordingNote note;
    note.presentation = QStringLiteral("/srv/shows/hall");
    note.mediaServers = QStringList{"hall"};
    CHECK(note.shortened().people.isEmpty());
    note.people =
        QStringLiteral("code,name,email,content-key,kind,language\n1001,Änne Öst,anne@museum.example,staff,unregistered,fi\n");
    const RecordingNote shortened = note.shortened();
    CHECK(shortened.presentation == note.presentation);
    CHECK(shortened.mediaServers == note.mediaServers);
    CHECK(shortened.people
          == QStringLiteral("code,name,email,content-key,kind,language\n1001,Ä…,a…@museum.example,staff,unregistered,fi\n"));
}
