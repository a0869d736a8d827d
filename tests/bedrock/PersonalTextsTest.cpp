#include <Bedrock/LogText.hpp>
#include <Bedrock/PersonalTexts.hpp>

#include <doctest/doctest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

using Bedrock::withoutSecrets;
using Bedrock::PersonalTexts::remember;

TEST_CASE("personal texts: a remembered text is shortened where it stands as a word, and nowhere else")
{
    for (const char* text : {"Zolta", "Zolta Quist", "  Quistling\n", "\u5c71\u7530 \u82b1\u5b50", "J\u00fcrgenz", "zq",
                             "Zed <zed@museum.example>", "zolta quist@museum.example", "0171 234567", "/@zed/Ab3dEf"})
        remember(std::string_view(text));
    struct Row
    {
        const char* line;
        const char* left;
    };
    const Row rows[] = {
        {"Mail # Failed for Zolta (no)", "Mail # Failed for Z\u2026 (no)"},
        {"Mail # 'Zolta Quist', Zolta", "Mail # 'Z\u2026', Z\u2026"},
        {"Mail # Zolta Quister", "Mail # Z\u2026 Quister"},
        {"Mail # Zoltan, aZolta, Zolta7, zolta", "Mail # Zoltan, aZolta, Zolta7, zolta"},
        {"Mail # Zolta-Quistling_Zolta", "Mail # Z\u2026-Q\u2026_Z\u2026"},
        {"Zolta # Zolta # Zolta", "Zolta # Z\u2026 # Z\u2026"},
        {"no head: Zolta", "no head: Z\u2026"},
        {"Mail # \u5c71\u7530 \u82b1\u5b50\u3055\u3093", "Mail # \u5c71\u2026\u3055\u3093"},
        {"Mail # J\u00fcrgenz!", "Mail # J\u2026!"},
        {"Mail # zq zqa", "Mail # z\u2026 zqa"},
        {"Mail # Zed <zed@museum.example> left", "Mail # Z\u2026 left"},
        {"Mail # zolta quist@museum.example left", "Mail # z\u2026@museum.example left"},
        {"Mail # call 0171 234567.", "Mail # call 0\u2026."},
        {"Mail # http://museum.example/@zed/Ab3dEf failed", "Mail # http://museum.example/\u2026 failed"},
        {"", ""},
        {" # ", " # "},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.line));
        CHECK(Bedrock::PersonalTexts::shortened(row.line) == row.left);
        CHECK(withoutSecrets(row.line) == row.left);
    }
}

TEST_CASE("personal texts: texts that are too short for a name, and numbers, stay")
{
    for (const char* text : {"", "   ", "Q", "\u00e4", "12", "10011", "--"})
        remember(std::string_view(text));
    const std::string line = "Mail # Q \u00e4 12 10011 --";
    CHECK(Bedrock::PersonalTexts::shortened(line) == line);
}

TEST_CASE("personal texts: of a long text the beginning is remembered, in whole characters")
{
    std::string text = "xy";
    while (text.size() < 3 * Bedrock::PersonalTexts::kLongestBytes)
        text += "\u00e4\u82b1";
    remember(std::string_view(text));
    const std::string left = Bedrock::PersonalTexts::shortened("Mail # " + text);
    CHECK(left.substr(0, 8) == "Mail # x");
    CHECK(left.size() < text.size() - Bedrock::PersonalTexts::kLongestBytes + 30);
    CHECK(left.substr(8, 3) == "\u2026");
    CHECK((left.substr(11, 2) == "\u00e4" || left.substr(11, 3) == "\u82b1"));
}

TEST_CASE("personal texts: of more texts than are kept the oldest is forgotten, and one that comes again takes no place")
{
    remember(std::string_view("Eldest Zimmer"));
    for (std::size_t i = 0; i + 2 < Bedrock::PersonalTexts::kMostTexts; ++i)
        remember("Visitor-" + std::to_string(i) + "q");
    for (int again = 0; again < 3; ++again)
        remember(std::string_view("Eldest Zimmer"));
    CHECK(Bedrock::PersonalTexts::shortened("A # Eldest Zimmer") == "A # E\u2026");
    remember(std::string_view("Newest Zimmer"));
    remember(std::string_view("Newer Zimmer"));
    CHECK(Bedrock::PersonalTexts::shortened("A # Eldest Zimmer") == "A # Eldest Zimmer");
    CHECK(Bedrock::PersonalTexts::shortened("A # Visitor-0q, Newer Zimmer") == "A # V\u2026, N\u2026");
}

TEST_CASE("personal texts: threads remember and log at once")
{
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([t, &wrong] {
            for (int i = 0; i < 200; ++i) {
                const std::string name = "Guest" + std::to_string(t) + "x" + std::to_string(i);
                remember(std::string_view(name));
                if (Bedrock::PersonalTexts::shortened("A # " + name) != "A # G\u2026")
                    ++wrong;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    CHECK(wrong == 0);
}
