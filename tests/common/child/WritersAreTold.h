#pragma once

/// Whether the system tells which processes have a file open. Wine's does not: its
/// Restart Manager knows of nobody.
bool WritersAreTold();
