#include "style/StyleNode.hpp"

#include "style/StyleEnginePrivate.hpp"

#include <algorithm>

namespace Cascara
{
void StyleNode::attributeAdded(Facet::Attribute& attribute)
{
    if (owner && std::binary_search(missing.begin(), missing.end(), attribute.nameNumber()))
        restyler().finishLater(*this);
}
}
