#pragma once

#include <Bedrock/Export.hpp>

#include <cstddef>
#include <vector>

namespace Lantern
{
class KeptPicture;

/// The memory of kept pictures, and of the surfaces in which groups are put together before they are faded or cut. Where a
/// picture needs more than is left, those that were drawn the longest time ago lose their pixels; they are painted anew when
/// they are next drawn. Must outlive its pictures. Main thread only.
class TAVOLA_EXPORT PictureStore
{
public:
    static constexpr std::size_t kUsualBudgetBytes = std::size_t(256) << 20;

    PictureStore() = default;
    PictureStore(const PictureStore&) = delete;
    PictureStore& operator=(const PictureStore&) = delete;

    /// Pictures beyond it lose their pixels at once. With 0 nothing is kept.
    void setBudgetBytes(std::size_t bytes);
    [[nodiscard]] std::size_t budgetBytes() const noexcept { return m_budgetBytes; }
    /// Of the pictures.
    [[nodiscard]] std::size_t usedBytes() const noexcept { return m_pictureBytes; }
    /// Of the surfaces, which count in the budget as well.
    [[nodiscard]] static std::size_t surfaceBytes();
    /// Frees the surfaces that were not used for about a second, and pictures where new surfaces have taken their place. To be
    /// called once a frame, while nothing is drawn.
    void endFrame();
    /// How many pictures have pixels.
    [[nodiscard]] std::size_t count() const noexcept { return m_pictures.size(); }

private:
    /// Enters itself and reports its size.
    friend class KeptPicture;

    /// False when there is no room even without other pictures.
    bool makeRoom(std::size_t bytes);
    void add(KeptPicture& picture, std::size_t bytes);
    void remove(KeptPicture& picture, std::size_t bytes);
    [[nodiscard]] std::size_t bytesForPictures() const;
    void freeUntil(std::size_t bytes);

    std::size_t m_budgetBytes = kUsualBudgetBytes;
    std::size_t m_pictureBytes = 0;
    long m_draws = 0; ///< numbers the draws of all pictures
    std::vector<KeptPicture*> m_pictures;
};
}
