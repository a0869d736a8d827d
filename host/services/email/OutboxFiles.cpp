#include "OutboxFiles.hpp"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QUuid>

#include <fcntl.h>
#include <unistd.h>

namespace Host
{
QString OutboxFiles::newName()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces) + QStringLiteral(".eml");
}

void OutboxFiles::remove(const QString& name) const
{
    static const QRegularExpression own(QStringLiteral("\\A[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}(\\.eml)?\\z"));
    const auto match = own.match(name);
    if (!match.hasMatch())
        return;
    constexpr int kFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    const int root = ::open(QFile::encodeName(m_root).constData(), kFolder);
    if (root < 0)
        return;
    const QByteArray target = name.toLatin1();
    if (!match.captured(2).isEmpty()) {
        ::unlinkat(root, target.constData(), 0);
    } else if (const int folder = ::openat(root, target.constData(), kFolder); folder >= 0) {
        for (int number = 0; ::unlinkat(folder, QByteArray::number(number).constData(), 0) == 0;)
            ++number;
        ::close(folder);
        ::unlinkat(root, target.constData(), AT_REMOVEDIR);
    }
    ::close(root);
}

void OutboxFiles::removeAllBut(const QStringList& names) const
{
    const QStringList found = QDir(m_root).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QString& name : found)
        if (!names.contains(name))
            remove(name);
}
}
