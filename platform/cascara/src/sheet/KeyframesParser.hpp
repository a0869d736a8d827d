#pragma once

#include "sheet/SheetReader.hpp"

#include <memory>
#include <utility>

namespace Cascara
{
/// Reads `@keyframes`. A mistake costs a declaration, a keyframe, or, in the name, all of it. Main thread only.
class KeyframesParser
{
public:
    /// `media` are the conditions around it, or null.
    KeyframesParser(SheetReader& reader, std::shared_ptr<const MediaScope> media) : m_reader(reader), m_media(std::move(media)) {}

    /// Reads what follows `at`, up to the end of its block, and adds it to the sheet.
    void parse(const Token& at);

private:
    void skipBlanks();
    [[nodiscard]] bool readName(QString& name);
    void parseFrame(Keyframes& keyframes);
    [[nodiscard]] bool readOffsets(int first, int end, std::vector<double>& offsets) const;

    SheetReader& m_reader;
    std::shared_ptr<const MediaScope> m_media;
};
}
