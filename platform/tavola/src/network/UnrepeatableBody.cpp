#include <Tavola/Network.hpp>

#include <QByteArray>
#include <QIODevice>

#include <algorithm>
#include <cstring>
#include <utility>

namespace Tavola
{
namespace
{
class UnrepeatableBody final : public QIODevice
{
public:
    explicit UnrepeatableBody(QByteArray bytes) : m_bytes(std::move(bytes)) { open(QIODevice::ReadOnly | QIODevice::Unbuffered); }

    [[nodiscard]] qint64 size() const override { return m_bytes.size(); }
    bool reset() override { return false; }

protected:
    qint64 readData(char* data, qint64 maxSize) override
    {
        const qint64 size = std::min(maxSize, m_bytes.size() - m_read);
        std::memcpy(data, m_bytes.constData() + m_read, std::size_t(size));
        m_read += size;
        return size > 0 || maxSize == 0 ? size : -1;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    QByteArray m_bytes;
    qint64 m_read = 0;
};
}

QIODevice* makeUnrepeatableBody(const QByteArray& bytes)
{
    return new UnrepeatableBody(bytes);
}
}
