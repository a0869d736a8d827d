#include <Lantern/PictureStore.hpp>

#include "LayerSurfaces.hpp"

#include <Lantern/KeptPicture.hpp>

#include <algorithm>

namespace Lantern
{
void PictureStore::setBudgetBytes(std::size_t bytes)
{
    m_budgetBytes = bytes;
    freeUntil(bytesForPictures());
}

std::size_t PictureStore::surfaceBytes()
{
    return LayerSurfaces::instance().bytes();
}

void PictureStore::endFrame()
{
    LayerSurfaces::instance().endFrame();
    freeUntil(bytesForPictures());
}

std::size_t PictureStore::bytesForPictures() const
{
    return m_budgetBytes - std::min(m_budgetBytes, surfaceBytes());
}

bool PictureStore::makeRoom(std::size_t bytes)
{
    const std::size_t most = bytesForPictures();
    if (bytes > most)
        return false;
    freeUntil(most - bytes);
    return true;
}

void PictureStore::freeUntil(std::size_t bytes)
{
    while (m_pictureBytes > bytes) {
        KeptPicture& oldest =
            **std::min_element(m_pictures.begin(), m_pictures.end(),
                               [](const KeptPicture* a, const KeptPicture* b) { return a->m_lastDraw < b->m_lastDraw; });
        oldest.clear();
    }
}

void PictureStore::add(KeptPicture& picture, std::size_t bytes)
{
    m_pictures.push_back(&picture);
    m_pictureBytes += bytes;
}

void PictureStore::remove(KeptPicture& picture, std::size_t bytes)
{
    m_pictures.erase(std::find(m_pictures.begin(), m_pictures.end(), &picture));
    m_pictureBytes -= bytes;
}
}
