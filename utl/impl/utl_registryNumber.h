#pragma once

#include <initializer_list>

#include "KSTutl_export.h"

/// The number that the first of `values` present in the registry key `keyName` (below
/// the local machine) holds; -1 without the key or any of them. Internal; exported for
/// the tests, which name keys and spellings that a machine may lack.
KSTUTL_EXPORT int utl_registryNumber(const char* keyName,
                                     std::initializer_list<const char*> values);
