#include "aio/aio_ostream.h"

aio_ostream::~aio_ostream() = default;
