#pragma once

/// How many descriptors (POSIX) or handles (Windows) this process has open.
int OpenHandles();
