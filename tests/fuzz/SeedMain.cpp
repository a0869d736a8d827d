// Feeds a fuzzer the files of the folders that are named, once each: NAME_seeds FOLDER...

#include <QByteArray>
#include <QDirIterator>
#include <QFile>

#include <cstdint>
#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
/// Not every fuzzer has one.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) __attribute__((weak));

int main(int argc, char** argv)
{
    if (LLVMFuzzerInitialize)
        (void)LLVMFuzzerInitialize(&argc, &argv);
    int inputs = 0;
    for (int i = 1; i < argc; ++i)
        for (QDirIterator it(QString::fromLocal8Bit(argv[i]), QDir::Files, QDirIterator::Subdirectories); it.hasNext();
             ++inputs) {
            QFile file(it.next());
            if (!file.open(QIODevice::ReadOnly)) {
                std::fprintf(stderr, "%s cannot be read\n", qUtf8Printable(file.fileName()));
                return 1;
            }
            const QByteArray input = file.readAll();
            (void)LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.constData()), std::size_t(input.size()));
        }
    if (inputs == 0)
        std::fputs("there is no file to feed\n", stderr);
    return inputs == 0 ? 1 : 0;
}
