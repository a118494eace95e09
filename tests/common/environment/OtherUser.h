#pragma once

#include <optional>
#include <string>

/// Whether another user may read a file. Nothing when there is no such user.
std::optional<bool> OtherUserMayRead(const std::string& path);

/// Makes this process one of a user to whom file permissions apply: true at once when
/// they already do, false when there is no such user. In a child process only: this
/// cannot be undone.
bool BecomeOtherUser();

/// Gives a file to the user that BecomeOtherUser makes; false when that is impossible.
bool GiveToOtherUser(const std::string& path);

/// Take the right to make files in a directory from everybody, and give it back.
void ForbidCreation(const std::string& directory);
void AllowCreation(const std::string& directory);
