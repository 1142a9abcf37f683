// `check`: whether a document keeps every rule.

#include <memory>

#include "check_report.hpp"
#include "commands.hpp"
#include "document_check.hpp"
#include "failure.hpp"
#include "repair.hpp"
#include "session.hpp"

namespace bokfolio::cli {

namespace {

struct CheckOptions {
  bool rebuildSums = false;
  bool repair = false;
  std::string to;
};

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

void check(Host& host, const CheckOptions& options) {
  if (options.repair) return repair(host, options.to);
  if (!options.to.empty()) {
    throw Failure(ExitStatus::Usage, "--to is for --repair", "give both");
  }
  const Session session = options.rebuildSums ? Session::writing(host) : Session::reading(host);
  if (options.rebuildSums) rebuildSums(session);
  reportCheck(host, session);
}

}  // namespace

void rebuildSums(const Session& session) {
  std::optional<Error> error;
  bool rebuilt = false;
  session.read([&] { rebuilt = session.context().rebuildSums(&error); });
  if (!rebuilt) throw documentFailure(error, session.path());
}

void reportCheck(Host& host, const Session& session, Json answer, bool lost) {
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
  const bool sound = counts.faults == 0 && !lost;
  if (host.json()) {
    answer["sound"] = sound;
    answer["findings"] = findings;
    answer["checked"] = countsJson(counts);
    host.print(answer);
  } else if (!sound || !host.options.quiet) {
    host.printLine(summary(counts));
  }
  if (!sound) host.exitStatus = ExitStatus::Refused;
}

void addCheckCommand(CLI::App& app, Host& host) {
  CLI::App* command = app.add_subcommand("check", "Check every invariant of the document");
  command->footer(
      "Entries balance and are dated in their year, numbers run from 1 without gap or double, "
      "struck\n"
      "rows tell who and when, both sides of every relationship agree... Exit status 1 when a "
      "fault\n"
      "is found; remarks are no faults.\n"
      "\n"
      "--repair makes indexes and sums anew, after a copy NAME.before-repair-DATE.bak. What it\n"
      "cannot mend it leaves untouched: it writes all that can be read to a new document,\n"
      "NAME-repaired, lists what was lost and checks the new one. Exit status 1 also when\n"
      "something was lost.");
  const auto options = std::make_shared<CheckOptions>();
  command->add_flag("--rebuild-sums", options->rebuildSums,
                    "Add up anew first what the document keeps of balances");
  command->add_flag("--repair", options->repair, "Mend the document, or save what can be read");
  command
      ->add_option("--to", options->to,
                   "With --repair: leave the document as it is, save what can be read here")
      ->type_name("PATH");
  onRun(command, host, [options](Host& h) { check(h, *options); });
}

}  // namespace bokfolio::cli
