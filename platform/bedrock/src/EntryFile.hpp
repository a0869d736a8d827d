#pragma once

#include <QByteArray>

#include <cstddef>

namespace Bedrock
{
/// The open folder of DecodedFiles. One that belongs to another user, or that others may write to, is not opened.
class EntryFolder
{
public:
    [[nodiscard]] static EntryFolder open(const QByteArray& path);
    /// Makes the folder, and those above it, when it does not exist.
    [[nodiscard]] static EntryFolder make(const QByteArray& path);
    EntryFolder(EntryFolder&& other) noexcept;
    EntryFolder& operator=(EntryFolder&&) = delete;
    ~EntryFolder();

    [[nodiscard]] bool isOpen() const noexcept { return m_descriptor >= 0; }
    [[nodiscard]] int descriptor() const noexcept { return m_descriptor; }
    /// Removes the least recently used entries until the others take no more than `mostBytes`; `replaced` does not count. Also
    /// what was left of entries whose writing was interrupted an hour ago or earlier. Other files stay.
    void shrink(qint64 mostBytes, const QByteArray& replaced) const;

private:
    explicit EntryFolder(int descriptor) : m_descriptor(descriptor) {}
    int m_descriptor;
};

/// The bytes of an entry, mapped into memory. An entry is replaced, never written again, so the bytes do not change. A disk that
/// fails later ends the program, as it does with the program's own libraries.
class EntryMap
{
public:
    EntryMap() = default;
    ~EntryMap();
    EntryMap(const EntryMap&) = delete;
    EntryMap& operator=(const EntryMap&) = delete;

    /// False unless the file is whole, undamaged, this user's and of that state. Counts as a use. Once.
    [[nodiscard]] bool open(const EntryFolder& folder, const QByteArray& name, const QByteArray& state);
    /// After open(); at a multiple of four.
    [[nodiscard]] const char* bytes() const noexcept;
    [[nodiscard]] qint64 size() const noexcept;

private:
    void* m_start = nullptr;
    std::size_t m_length = 0; ///< with the head
};

/// An entry of DecodedFiles: a head with the state of what was decoded, the length and a checksum, then the bytes.
namespace EntryFile
{
/// A file name that says nothing about the key.
[[nodiscard]] QByteArray nameOf(const QByteArray& key);
/// Bytes of the file.
[[nodiscard]] qint64 sizeOf(const QByteArray& bytes);
/// Replaces the entry in one step; a failure leaves what was there.
void write(const EntryFolder& folder, const QByteArray& name, const QByteArray& state, const QByteArray& bytes);
}
}
