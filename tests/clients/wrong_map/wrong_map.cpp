// Does not compile: MAP is a tree map that the library does not have.

#include <string>

#include "utl/omi_Btree.h"

MAP map;
