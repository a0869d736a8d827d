// Writes the inputs that the fuzzer starts from into a folder: small tables that use every message of both versions. Their
// layout is that of TuioFuzzer.cpp.

#include <Tactile/OscWriter.hpp>
#include <Tactile/Tuio2Encoder.hpp>
#include <Tactile/TuioEncoder.hpp>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace
{
constexpr unsigned kFrame = 16;
constexpr unsigned kLost = 32;

class Seed
{
public:
    Seed(std::string folder, std::string name) : m_file(std::move(folder) + '/' + std::move(name)) {}
    ~Seed()
    {
        std::ofstream file(m_file, std::ios::binary);
        file.write(m_bytes.data(), static_cast<std::streamsize>(m_bytes.size()));
        if (!file)
            std::fprintf(stderr, "tuio_seeds # Failed to write %s\n", m_file.c_str());
    }
    Seed(const Seed&) = delete;
    Seed& operator=(const Seed&) = delete;

    void add(const std::vector<char>& packet, unsigned flags = kFrame)
    {
        m_bytes.push_back(static_cast<char>(packet.size() >> 8));
        m_bytes.push_back(static_cast<char>(packet.size()));
        m_bytes.push_back(static_cast<char>(flags));
        m_bytes.insert(m_bytes.end(), packet.begin(), packet.end());
    }

private:
    std::string m_file;
    std::vector<char> m_bytes;
};

std::vector<char> cursors(std::int32_t frame, const std::vector<std::int32_t>& alive, float x, const char* source = "a@b")
{
    Tactile::TuioEncoder encoder(source);
    encoder.begin(Tactile::TuioProfile::Cursors);
    encoder.alive(alive);
    for (const std::int32_t session : alive)
        encoder.setCursor(session, x, 0.5f);
    return encoder.finish(frame);
}

std::vector<char> objects(std::int32_t frame, std::int32_t session, std::int32_t code, float angle)
{
    Tactile::TuioEncoder encoder;
    encoder.begin(Tactile::TuioProfile::Objects);
    encoder.alive({session});
    encoder.setObject(session, code, 0.25f, 0.75f, angle);
    return encoder.finish(frame);
}

std::vector<char> blobs(std::int32_t frame)
{
    Tactile::TuioEncoder encoder("blob@cam");
    encoder.begin(Tactile::TuioProfile::Blobs);
    encoder.alive({1});
    encoder.setBlob(1, 0.5f, 0.5f, 1.f, 0.1f, 0.2f);
    return encoder.finish(frame);
}

std::vector<char> components(std::int32_t frame, double seconds, bool hasToken)
{
    Tactile::Tuio2Encoder encoder("two@cam", 640, 480);
    encoder.begin(frame, Tactile::Tuio2Encoder::timeTag(seconds));
    if (hasToken)
        encoder.token(1, 1001, 0.5f, 0.5f, 1.f);
    encoder.area(1, 0.5f, 0.5f, 1.f, 0.1f, 0.1f);
    encoder.pointer(2, 0.1f, 0.9f);
    encoder.symbol(3, 1002, "g", "d");
    encoder.area(3, 0.7f, 0.7f, 0.f, 0.1f, 0.1f);
    return encoder.finish({1, 2, 3});
}

std::vector<char> single(const char* address, const char* tags, const char* command, int ints, int floats)
{
    Tactile::OscWriter writer;
    writer.beginMessage(address, tags);
    if (*command)
        writer.add(command);
    for (int i = 0; i < ints; ++i)
        writer.add(1);
    for (int i = 0; i < floats; ++i)
        writer.add(0.5f);
    writer.endMessage();
    return writer.packet();
}

std::vector<char> nested()
{
    Tactile::OscWriter writer;
    for (int i = 0; i < 4; ++i)
        writer.beginBundle();
    writer.beginMessage("/tuio/2Dcur", ",si");
    writer.add("fseq");
    writer.add(7);
    writer.endMessage();
    for (int i = 0; i < 4; ++i)
        writer.endBundle();
    return writer.packet();
}
}

int main(int count, char** arguments)
{
    if (count != 2) {
        std::fprintf(stderr, "usage: tuio_seeds FOLDER\n");
        return 2;
    }
    const std::string folder = arguments[1];
    {
        Seed seed(folder, "cursors");
        seed.add(cursors(1, {1, 2}, 0.1f));
        seed.add(cursors(2, {1}, 0.2f));
        seed.add(cursors(1, {1}, 0.3f)); // late
        seed.add(cursors(200, {1}, 0.3f));
        seed.add(cursors(1, {3}, 0.3f));  // restarted
        seed.add(cursors(-1, {3}, 0.4f)); // redundant
    }
    {
        Seed seed(folder, "objects");
        seed.add(objects(1, 5, 1001, 0.f));
        seed.add(objects(2, 5, 1002, 7.f));
        seed.add(objects(2, 6, 1002, -1.f), kFrame | kLost);
        seed.add(objects(3, 6, 1002, -1.f));
    }
    {
        Seed seed(folder, "blobs");
        seed.add(blobs(1));
        seed.add(blobs(2), 8);
    }
    {
        Seed seed(folder, "components");
        seed.add(components(1, 1.0, false));
        seed.add(components(2, 1.1, true));
        seed.add(components(1, 1.2, true));  // late
        seed.add(components(1, 9.0, false)); // restarted
        seed.add(components(0, 9.0, true), kFrame | kLost);
        seed.add(components(1, 9.1, true));
    }
    {
        Seed seed(folder, "both");
        seed.add(components(1, 1.0, true), 1);
        seed.add(cursors(1, {1, 2}, 0.1f, "two@cam"), 2);
        seed.add(cursors(1, {1, 2}, 0.1f, "one"), 3 | 8 | kFrame);
    }
    {
        Seed seed(folder, "single");
        for (const char* tags : {",si", ""}) {
            seed.add(single("/tuio/2Dcur", tags, "alive", 1, 0));
            seed.add(single("/tuio/2Dcur", *tags ? ",sifffff" : "", "set", 1, 5));
            seed.add(single("/tuio/2Dcur", tags, "fseq", 1, 0));
        }
        seed.add(single("/tuio2/ptr", ",iiiffffff", "", 3, 6));
        seed.add(single("/tuio2/alv", ",i", "", 1, 0));
        seed.add(single("/tuio/3Dobj", ",i", "", 1, 0));
        seed.add(nested());
    }
    return 0;
}
