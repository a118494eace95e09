#pragma once

#include <exception>
#include <string>

/// What a program tells its user about an exception: one line, or two when there is
/// something to do, each with its end. See utl_runMain.
std::string utl_failureText(const char* program, const std::exception_ptr& failure);
