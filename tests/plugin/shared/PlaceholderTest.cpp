#include "shared/Placeholder.hpp"

#include <doctest/doctest.h>

#include <QStringList>

using Tavola::fillPlaceholder;

namespace
{
QStringList& messages()
{
    static QStringList list;
    return list;
}

/// What Qt writes to the console meanwhile.
class QtMessages
{
public:
    QtMessages()
        : m_before(
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& text) { messages().append(text); }))
    {
        messages().clear();
    }
    ~QtMessages() { qInstallMessageHandler(m_before); }
    QtMessages(const QtMessages&) = delete;
    QtMessages& operator=(const QtMessages&) = delete;

private:
    QtMessageHandler m_before;
};
}

TEST_CASE("placeholder: a text is filled as QString::arg fills it, and one without a place stays as it is")
{
    struct Row
    {
        const char* text;
        const char* value;
        const char* filled;
    };
    const Row rows[] = {
        {"Hi, %1", "Ann", "Hi, Ann"},
        {"%1 and %1", "Ann", "Ann and Ann"},
        {"%2 before %1", "Ann", "%2 before Ann"},
        {"%7", "Ann", "Ann"},
        {"%0", "Ann", "Ann"},
        {"%L1", "Ann", "Ann"},
        {"100%", "Ann", "100%"},
        {"%", "Ann", "%"},
        {"%L", "Ann", "%L"},
        {"%%1", "Ann", "%Ann"},
        {"%Lx %1", "Ann", "%Lx Ann"},
        {"Welcome", "Ann", "Welcome"},
        {"", "Ann", ""},
        {"Hi, %1", "%1 %2", "Hi, %1 %2"},
        {"Hi, %1", "", "Hi, "},
        {"Mail: %1", "50%@x.org", "Mail: 50%@x.org"},
    };
    const QtMessages quiet;
    for (const Row& row : rows) {
        CAPTURE(row.text);
        CHECK(fillPlaceholder(row.text, row.value).toStdString() == row.filled);
    }
    CHECK(messages().join("\n").toStdString().empty());
}
