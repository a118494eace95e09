#pragma once

// How a file that the Windows C run time opens is shared, on POSIX.

constexpr int _SH_DENYNO = 0x40;
