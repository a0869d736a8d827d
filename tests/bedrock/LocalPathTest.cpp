#include <Bedrock/LocalPath.hpp>

#include <doctest/doctest.h>

using Bedrock::localPath;

TEST_CASE("local path: a file's address becomes its path, everything else stays as it is")
{
    struct Row
    {
        const char* source;
        const char* path;
    };
    const Row rows[] = {
        {"", ""},
        {"/media/a b.png", "/media/a b.png"},
        {"a.png", "a.png"},
        {"~/a.png", "~/a.png"},
        {":/keyboards/en.json", ":/keyboards/en.json"},
        {"file:///media/a.png", "/media/a.png"},
        {"file:/media/a.png", "/media/a.png"},
        {"FILE:///media/a.png", "/media/a.png"},
        {"file:///media/a%20b.png", "/media/a b.png"},
        {"file:///media/a b.png", "/media/a b.png"},
        {"file:///media/100%.png", "/media/100%.png"},
        {"/media/a%20b.png", "/media/a%20b.png"},
        {"file:///media/\xC3\xA9.png", "/media/\xC3\xA9.png"},
        {"file://server/share/a.png", "//server/share/a.png"},
        {"file:a.png", "a.png"},
        {"file:", "file:"},
        {"file://", "file://"},
        {"https://example.org/file:/a.png", "https://example.org/file:/a.png"},
        {"filed:///media/a.png", "filed:///media/a.png"},
        {"profile:a", "profile:a"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.source);
        CHECK(localPath(QString::fromUtf8(row.source)).toStdString() == row.path);
    }
}
