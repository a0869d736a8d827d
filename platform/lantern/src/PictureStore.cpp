#include <Lantern/PictureStore.hpp>

#include <Lantern/KeptPicture.hpp>

#include <algorithm>

namespace Lantern
{
void PictureStore::setBudgetBytes(std::size_t bytes)
{
    m_budgetBytes = bytes;
    freeUntil(bytes);
}

bool PictureStore::makeRoom(std::size_t bytes)
{
    if (bytes > m_budgetBytes)
        return false;
    freeUntil(m_budgetBytes - bytes);
    return true;
}

void PictureStore::freeUntil(std::size_t bytes)
{
    while (m_usedBytes > bytes) {
        KeptPicture& oldest =
            **std::min_element(m_pictures.begin(), m_pictures.end(),
                               [](const KeptPicture* a, const KeptPicture* b) { return a->m_lastDraw < b->m_lastDraw; });
        oldest.clear();
    }
}

void PictureStore::add(KeptPicture& picture, std::size_t bytes)
{
    m_pictures.push_back(&picture);
    m_usedBytes += bytes;
}

void PictureStore::remove(KeptPicture& picture, std::size_t bytes)
{
    m_pictures.erase(std::find(m_pictures.begin(), m_pictures.end(), &picture));
    m_usedBytes -= bytes;
}
}
