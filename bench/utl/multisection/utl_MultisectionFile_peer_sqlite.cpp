// A row for each section, in one transaction.

#include <sqlite3.h>

#include <algorithm>

#include "utl_MultisectionFile_works.h"

namespace {

class Base {
 public:
  explicit Base(const std::string& path) {
    sqlite3_open(path.c_str(), &base_);
    Run("PRAGMA synchronous = OFF");
  }
  ~Base() { sqlite3_close(base_); }
  Base(const Base&) = delete;
  Base& operator=(const Base&) = delete;
  void Run(const char* statement) {
    sqlite3_exec(base_, statement, nullptr, nullptr, nullptr);
  }
  sqlite3* Get() const { return base_; }

 private:
  sqlite3* base_ = nullptr;
};

class Statement {
 public:
  Statement(const Base& base, const char* text) {
    sqlite3_prepare_v2(base.Get(), text, -1, &statement_, nullptr);
  }
  ~Statement() { sqlite3_finalize(statement_); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;
  sqlite3_stmt* Get() const { return statement_; }

  void Bind(const std::string& name) {
    sqlite3_bind_text(statement_, 1, name.data(), static_cast<int>(name.size()), nullptr);
  }

 private:
  sqlite3_stmt* statement_ = nullptr;
};

struct Store {
  static void Write(const std::string& path, const Sections& sections) {
    std::filesystem::remove(path);
    Base base(path);
    base.Run("CREATE TABLE section (name TEXT PRIMARY KEY, data BLOB)");
    base.Run("BEGIN");
    {
      Statement insert(base, "INSERT INTO section VALUES (?, ?)");
      for (std::size_t i = 0; i < sections.Count(); ++i) {
        insert.Bind(sections.Name(i));
        sqlite3_bind_blob(insert.Get(), 2, sections.Data(i), sections.Size(), nullptr);
        sqlite3_step(insert.Get());
        sqlite3_reset(insert.Get());
      }
    }
    base.Run("COMMIT");
  }

  static unsigned long Read(const std::string& path, const Sections& sections) {
    const Base base(path);
    Statement select(base, "SELECT data FROM section WHERE name = ?");
    std::vector<char> data(sections.Bytes());
    Seen seen;
    for (std::size_t i = 0; i < sections.Count(); ++i) {
      select.Bind(sections.Name(i));
      sqlite3_step(select.Get());
      std::copy_n(static_cast<const char*>(sqlite3_column_blob(select.Get(), 0)),
                  sections.Bytes(), data.data());
      seen.Add(data);
      sqlite3_reset(select.Get());
    }
    return seen.Number();
  }
};

const bench::Part part([] { AddStore<Store>("SQLite without sync"); });

}  // namespace
