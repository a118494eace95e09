#pragma once

#include <initializer_list>

/// The number that the first of `values` present in the registry key `keyName` (below
/// the local machine) holds; -1 without the key or any of them.
int utl_registryNumber(const char* keyName, std::initializer_list<const char*> values);
