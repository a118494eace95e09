#pragma once

#include <string>

/// Has the shell of the underlying system run a command, and waits for its end: for what
/// no Windows call can do, such as making links and named pipes.
///
///     if (!RunShell("mkfifo " + ShellName(dir_.File("p")))) GTEST_SKIP() << "no pipes";
///
/// False when there is no such shell (there is one natively and under Wine), or when the
/// command fails. REQUIRES: the command has no double quotes.
bool RunShell(const std::string& command);

/// A file's name, as the Windows calls take it, for use in a command.
std::string ShellName(const std::string& path);

/// Symbolic links in a directory, for as long as the object lives. (Under Wine the
/// standard library cannot remove a directory with links.)
///
///     ShellLinks links(dir_.Path());
///     if (!links.Make("target", "link")) GTEST_SKIP() << "links cannot be made here";
class ShellLinks {
 public:
  explicit ShellLinks(const std::string& directory) : directory_(directory) {}
  ~ShellLinks();
  ShellLinks(const ShellLinks&) = delete;
  ShellLinks& operator=(const ShellLinks&) = delete;

  bool Make(const std::string& target, const std::string& name);

 private:
  std::string directory_;
  std::string names_;
};
