#include <Bedrock/BinaryData.hpp>

#include <doctest/doctest.h>

#include <limits>

using Bedrock::BinaryData;

TEST_CASE("binary data: values come back in the order they were written")
{
    BinaryData data;
    data.writeInt64(std::numeric_limits<std::int64_t>::min());
    data.writeString(QStringLiteral("Zoë 漢字 \U0001F600"));
    data.writeInt32(-7);
    data.writeFloat32(0.25f);
    data.writeString(QString());
    CHECK(data.readInt64() == std::numeric_limits<std::int64_t>::min());
    CHECK(data.readString() == QStringLiteral("Zoë 漢字 \U0001F600"));
    CHECK(data.readInt32() == -7);
    CHECK(data.readFloat32() == 0.25f);
    CHECK_FALSE(data.isAtEnd());
    CHECK(data.readString().isEmpty());
    CHECK(data.isAtEnd());
    CHECK_FALSE(data.hasFailed());
}

TEST_CASE("binary data: reading another type fails and leaves the value for the right reader")
{
    BinaryData data;
    data.writeInt32(5);
    CHECK(data.readInt64() == 0);
    CHECK(data.hasFailed());
    CHECK(data.readFloat32() == 0.f);
    CHECK(data.readString() == QString());
    CHECK(data.readInt32() == 5);
    CHECK(data.hasFailed());
    data.rewind();
    CHECK_FALSE(data.hasFailed());
    CHECK(data.readInt32() == 5);
}

TEST_CASE("binary data: reading past the end fails")
{
    BinaryData data;
    CHECK(data.isAtEnd());
    CHECK(data.readInt32() == 0);
    CHECK(data.hasFailed());
}

TEST_CASE("binary data: a reader can rewind and read again")
{
    BinaryData data;
    data.writeFloat32(1.5f);
    data.writeFloat32(2.5f);
    CHECK(data.readFloat32() == 1.5f);
    data.rewind();
    CHECK(data.readFloat32() == 1.5f);
    CHECK(data.readFloat32() == 2.5f);
}

TEST_CASE("binary data: a payload larger than the object's own buffer and a copy of it are complete")
{
    BinaryData data;
    const QString text(1000, QLatin1Char('x'));
    data.writeInt32(1);
    data.writeString(text);
    data.writeInt64(2);
    BinaryData copy = data;
    CHECK(copy.readInt32() == 1);
    CHECK(copy.readString() == text);
    CHECK(copy.readInt64() == 2);
    CHECK(data.readInt32() == 1);
}

TEST_CASE("binary data: a payload that outgrows the object's own buffer keeps what was written, and so do its copies")
{
    for (int values = 0; values < 40; ++values) {
        CAPTURE(values);
        BinaryData data;
        for (int i = 0; i < values; ++i)
            data.writeInt32(i);
        BinaryData copy;
        copy.writeString(QString(200, QLatin1Char('x')));
        copy = data;
        copy.writeInt64(-1);
        for (int i = 0; i < values; ++i) {
            CHECK(data.readInt32() == i);
            CHECK(copy.readInt32() == i);
        }
        CHECK(data.isAtEnd());
        CHECK(copy.readInt64() == -1);
        CHECK(copy.isAtEnd());
        CHECK_FALSE(copy.hasFailed());
    }
}
