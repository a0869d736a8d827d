#pragma once

#include "services/collections/CollectionService.hpp"

/// A change of an item of card 7.
inline Host::CollectionService::Change collectionChange(Host::CollectionService::Change::Kind kind, const char* key,
                                                        const char* name = "", int status = 1)
{
    Host::CollectionService::Change result{kind, 7, {}};
    result.item.key = QString::fromUtf8(key);
    result.item.displayName = QString::fromUtf8(name);
    result.item.status = status;
    return result;
}
