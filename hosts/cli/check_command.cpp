// `check`: whether a document keeps every rule.

#include <memory>

#include "commands.hpp"
#include "document_check.hpp"
#include "failure.hpp"
#include "session.hpp"

namespace bokfolio::cli {

namespace {

std::string counted(std::size_t count, const std::string& one, const std::string& many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string summary(const DocumentCheck::Counts& counts) {
  return "Checked " + counted(counts.accounts, "account", "accounts") + ", " +
         counted(counts.tags, "tag", "tags") + ", " + counted(counts.years, "year", "years") +
         ", " + counted(counts.entries, "entry", "entries") + " and " +
         counted(counts.rows, "row", "rows") + ": " +
         (counts.faults == 0 ? "no fault" : counted(counts.faults, "fault", "faults"));
}

Json countsJson(const DocumentCheck::Counts& counts) {
  return {{"accounts", counts.accounts},
          {"tags", counts.tags},
          {"years", counts.years},
          {"entries", counts.entries},
          {"rows", counts.rows}};
}

Session openedForCheck(Host& host, bool rebuildSums) {
  if (!rebuildSums) return Session::reading(host);
  Session session = Session::writing(host);
  std::optional<Error> error;
  bool rebuilt = false;
  session.read([&] { rebuilt = session.context().rebuildSums(&error); });
  if (!rebuilt) throw Failure(ExitStatus::Document, error->localizedDescription());
  return session;
}

void check(Host& host, bool rebuildSums) {
  const Session session = openedForCheck(host, rebuildSums);
  Json findings = Json::array();
  DocumentCheck document(host, session.context(), [&](const Finding& finding) {
    const char* weight = finding.weight == Finding::Weight::Fault ? "fault" : "remark";
    if (!host.json()) {
      return host.printLine(std::string(weight) + ": " + finding.subject + ": " + finding.message);
    }
    findings.push_back(
        {{"weight", weight}, {"subject", finding.subject}, {"message", finding.message}});
  });
  const DocumentCheck::Counts counts = document.run();
  if (host.json()) {
    host.print(Json{
        {"sound", counts.faults == 0}, {"findings", findings}, {"checked", countsJson(counts)}});
  } else if (counts.faults > 0 || !host.options.quiet) {
    host.printLine(summary(counts));
  }
  if (counts.faults > 0) host.exitStatus = ExitStatus::Refused;
}

}  // namespace

void addCheckCommand(CLI::App& app, Host& host) {
  CLI::App* command = app.add_subcommand("check", "Check every invariant of the document");
  command->footer(
      "Entries balance and are dated in their year, numbers run from 1 without gap or double, "
      "struck\n"
      "rows tell who and when, both sides of every relationship agree... Exit status 1 when a "
      "fault\n"
      "is found; remarks are no faults.");
  const auto rebuildSums = std::make_shared<bool>(false);
  command->add_flag("--rebuild-sums", *rebuildSums,
                    "Add up anew first what the document keeps of balances");
  onRun(command, host, [rebuildSums](Host& h) { check(h, *rebuildSums); });
}

}  // namespace bokfolio::cli
