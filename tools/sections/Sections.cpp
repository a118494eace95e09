#include "sections/Sections.h"

#include "sections/Values.h"

namespace {

constexpr char kExamples[] = R"(Examples:
  kst_sections list model.kdb
  kst_sections verify *.kdb
  kst_sections dump model.kdb displacements --as float64
  kst_sections get model.kdb title title.txt
  kst_sections set model.kdb title title.txt
  kst_sections remove model.kdb forces reactions smaller.kdb
  kst_sections diff old.kdb new.kdb --tolerance 1e-9
  kst_sections salvage damaged.kdb rescued.kdb
  kst_sections unlock model.kdb
  kst_sections recover model.kdb --yes

Exit status: 0 all is well, 1 damage, a difference or something to be done,
2 wrong use, or a file that cannot be read or written.)";

/// A verb of the tool, whose work is noted once the arguments ask for it.
CLI::App* AddVerb(CLI::App& tool, const std::string& name, const std::string& description,
                  std::function<int()>& chosen, std::function<int()> work) {
  CLI::App* const verb = tool.add_subcommand(name, description);
  verb->final_callback([&chosen, work = std::move(work)] { chosen = work; });
  return verb;
}

}  // namespace

int KstSections(int argc, const char* const* argv, const Console& console) {
  CLI::App tool(
      "Section files: their sections, whether they are whole, and how they "
      "differ. What is damaged can be rescued, what a crash left be put in order.",
      "kst_sections");
  tool.footer(kExamples);
  tool.require_subcommand(1);

  std::function<int()> chosen;
  bool asJson = false;
  std::string file;
  std::string section;
  std::string other;
  std::vector<std::string> many;
  DumpOptions dump;
  DiffOptions diff;
  RepairOptions repair;
  const CLI::IsMember typeNames(ValueTypeNames());

  CLI::App* verb = AddVerb(tool, "list", "Names, lengths and checksums", chosen,
                           [&] { return ListSections(many, asJson, console); });
  verb->add_option("FILE", many, "Section files")->required();
  verb->add_flag("--json", asJson, "Print JSON");

  verb = AddVerb(tool, "verify", "Check every section against its checksum", chosen,
                 [&] { return VerifyFiles(many, asJson, console); });
  verb->add_option("FILE", many, "Section files")->required();
  verb->add_flag("--json", asJson, "Print JSON");

  verb = AddVerb(tool, "dump", "Print a section as numbers, text or bytes", chosen,
                 [&] { return DumpSection(dump, console); });
  verb->add_option("FILE", dump.file, "Section file")->required();
  verb->add_option("SECTION", dump.section, "Name of the section")->required();
  verb->add_option("--as", dump.type, "How to read it; auto knows what kst_truss saves")
      ->check(typeNames)
      ->default_val("auto");
  verb->add_flag("--json", dump.asJson, "Print JSON");

  verb = AddVerb(tool, "get", "Write a section's bytes to a new file", chosen,
                 [&] { return GetSection(file, section, other, asJson, console); });
  verb->add_option("FILE", file, "Section file")->required();
  verb->add_option("SECTION", section, "Name of the section")->required();
  verb->add_option("OUTPUT", other, "New file")->required();
  verb->add_flag("--json", asJson, "Print JSON");

  verb = AddVerb(tool, "set", "Replace or add a section", chosen,
                 [&] { return SetSection(file, section, other, asJson, console); });
  verb->add_option("FILE", file, "Section file, which is saved atomically")->required();
  verb->add_option("SECTION", section, "Name of the section")->required();
  verb->add_option("INPUT", other, "File with the section's bytes")->required();
  verb->add_flag("--json", asJson, "Print JSON");

  verb = AddVerb(tool, "remove", "Write a new file without some sections", chosen, [&] {
    other = many.back();
    many.pop_back();
    return RemoveSections(file, many, other, asJson, console);
  });
  verb->add_option("FILE", file, "Section file, which stays as it is")->required();
  verb->add_option("SECTION... OUTPUT", many, "Sections to leave out, and the new file")
      ->required()
      ->expected(2, -1);
  verb->add_flag("--json", asJson, "Print JSON");

  verb = AddVerb(tool, "diff", "Compare two files section by section", chosen,
                 [&] { return DiffFiles(diff, console); });
  verb->add_option("OLD", diff.files[0], "Section file")->required();
  verb->add_option("NEW", diff.files[1], "Section file")->required();
  verb->add_option("--as", diff.type, "How to read the sections")
      ->check(typeNames)
      ->default_val("auto");
  verb->add_option("--tolerance", diff.tolerance,
                   "Numbers that differ by at most this part of the larger one are equal")
      ->check(WrongAmount);
  verb->add_option("--absolute", diff.absolute,
                   "So are those that differ by at most this")
      ->check(WrongAmount);
  verb->add_flag("--json", diff.asJson, "Print JSON");

  verb = AddVerb(tool, "salvage", "Write all whole sections to a new file", chosen,
                 [&] { return SalvageSections(file, other, asJson, console); });
  verb->add_option("FILE", file, "Damaged section file, which stays as it is")
      ->required();
  verb->add_option("OUTPUT", other, "New section file")->required();
  verb->add_flag("--json", asJson, "Print JSON");

  verb = AddVerb(tool, "unlock", "Remove a lock that a crash has left", chosen,
                 [&] { return UnlockFile(repair, console); });
  verb->add_option("FILE", repair.file, "Section file")->required();
  verb->add_flag("--yes", repair.isConfirmed,
                 "Do it; without, only say what would be done");
  verb->add_flag("--json", repair.asJson, "Print JSON");

  verb = AddVerb(tool, "recover", "Put in order what a crash has left", chosen,
                 [&] { return RecoverFile(repair, console); });
  verb->add_option("FILE", repair.file, "Section file")->required();
  verb->add_flag("--yes", repair.isConfirmed,
                 "Do it; without, only say what would be done");
  verb->add_flag("--json", repair.asJson, "Print JSON");

  return RunTool(tool, argc, argv, console, [&] { return chosen(); });
}
