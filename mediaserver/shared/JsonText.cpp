#include "JsonText.hpp"

namespace MediaServer
{

namespace
{

constexpr int kUsualBytes = 240;

/// `c` has to be written as an escape. DEL and what is beyond ASCII may stand in JSON as they are.
bool isEscaped(char c)
{
    return static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\';
}

void appendEscape(QByteArray& json, char c)
{
    switch (c) {
    case '"': json += "\\\""; return;
    case '\\': json += "\\\\"; return;
    case '\b': json += "\\b"; return;
    case '\f': json += "\\f"; return;
    case '\n': json += "\\n"; return;
    case '\r': json += "\\r"; return;
    case '\t': json += "\\t"; return;
    default: break;
    }
    static const char* const digits = "0123456789abcdef";
    json += "\\u00";
    json += digits[c >> 4];
    json += digits[c & 15];
}

} // namespace

void JsonText::begin(const char* name)
{
    if (m_json.isEmpty()) {
        m_json.reserve(kUsualBytes);
        m_json += '{';
    } else {
        m_json += ',';
    }
    m_json += '"';
    m_json += name;
    m_json += "\":";
}

JsonText& JsonText::addText(const char* name, const QString& text)
{
    begin(name);
    m_json += '"';
    const QByteArray utf8 = text.toUtf8();
    int copied = 0;
    for (int i = 0; i < utf8.size(); ++i) {
        const char c = utf8.at(i);
        if (!isEscaped(c))
            continue;
        m_json.append(utf8.constData() + copied, i - copied);
        appendEscape(m_json, c);
        copied = i + 1;
    }
    m_json.append(utf8.constData() + copied, utf8.size() - copied);
    m_json += '"';
    return *this;
}

JsonText& JsonText::addNumber(const char* name, qint64 number)
{
    begin(name);
    m_json += QByteArray::number(number);
    return *this;
}

JsonText& JsonText::addFlag(const char* name, bool flag)
{
    begin(name);
    m_json += flag ? "true" : "false";
    return *this;
}

QByteArray JsonText::end()
{
    m_json += m_json.isEmpty() ? "{}" : "}";
    return m_json;
}

} // namespace MediaServer
