// thr_keepLibraryLoaded: for threads that run the library's code.

#pragma once

/// Keeps the library loaded until the process ends, even when its last client unloads it.
/// Internal to the library.
///
/// Threads: any, any number of times.
void thr_keepLibraryLoaded();
