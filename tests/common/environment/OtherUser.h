#pragma once

#include <optional>
#include <string>

/// Whether another user may read a file. Nothing when no such user can be had.
std::optional<bool> OtherUserMayRead(const std::string& path);

/// Makes the present process one of a user to whom file permissions apply: at once
/// true when they do already, false when no such user can be had. In a child
/// process only: there is no way back.
bool BecomeOtherUser();

/// Gives a file to the user that BecomeOtherUser makes; false when that cannot be done.
bool GiveToOtherUser(const std::string& path);

/// Takes the right to make files in a directory from everybody, and gives it back.
void ForbidCreation(const std::string& directory);
void AllowCreation(const std::string& directory);
