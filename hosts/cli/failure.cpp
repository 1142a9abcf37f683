#include "failure.hpp"

#include <utility>

#include "bokfolio/model/ledger/ledger_error.hpp"
#include "bokfolio/store/persistence/persistence.hpp"
#include "text_width.hpp"

namespace bokfolio::cli {

namespace {

std::string withoutFullStop(std::string text) {
  while (!text.empty() && (text.back() == '.' || text.back() == '\n')) text.pop_back();
  return text;
}

bool is(const Error& error, LedgerError code) {
  return error.domain() == kBokfolioErrorDomain && error.code() == static_cast<int>(code);
}

std::string remedyFor(PersistenceError code) {
  switch (code) {
    case PersistenceError::NotADocument:
      return "name another with -d FILE";
    case PersistenceError::NewerFormat:
      return "install that version";
    case PersistenceError::InUse:
      return "close it there, then try again";
    case PersistenceError::ReadOnly:
      return "change the permissions of the file and its folder";
    case PersistenceError::Full:
      return "make room, then try again";
    case PersistenceError::Damaged:
      return "'bokfolio check --repair' saves what can be read; a copy from before is better";
    case PersistenceError::AlreadyExists:
      return "choose another name";
    default:
      return "";
  }
}

std::string remedyFor(const Error& error) {
  if (error.domain() == kPersistenceErrorDomain) {
    return remedyFor(static_cast<PersistenceError>(error.code()));
  }
  if (is(error, LedgerError::NoFiscalYear)) return "add one with 'bokfolio year add YEAR'";
  if (is(error, LedgerError::SeveralFiscalYears)) {
    return "fiscal years must not overlap; see 'bokfolio year list'";
  }
  if (is(error, LedgerError::NoNewEntry)) return "'bokfolio entry discard' makes a fresh one";
  if (is(error, LedgerError::NoPrecedingYear))
    return "set its opening balances with 'bokfolio opening set'";
  if (is(error, LedgerError::StartLaterThanEnd)) return "exchange --from and --to";
  return "";
}

}  // namespace

Failure::Failure(ExitStatus status, const std::string& message, std::string remedy)
    : std::runtime_error(message), status_(status), remedy_(std::move(remedy)) {}

Failure& Failure::about(const std::string& subject) {
  if (subject_.empty()) subject_ = subject;
  return *this;
}

Failure& Failure::advise(const std::string& remedy) {
  if (remedy_.empty()) remedy_ = remedy;
  return *this;
}

Failure& Failure::because(Error cause) {
  cause_ = std::move(cause);
  return *this;
}

std::string Failure::line() const {
  std::string line = subject_.empty() ? "" : subject_ + ": ";
  line += what();
  if (!remedy_.empty()) line += "; " + remedy_;
  return printable(line);
}

Failure failureOf(const std::optional<Error>& error, ExitStatus status) {
  if (!error) return Failure(status, "the records do not pass their validation");
  std::string message = withoutFullStop(error->localizedDescription());
  const std::string& entry = error->text(kEntryDescriptionKey);
  if (!entry.empty()) message += " (" + entry + ")";
  Failure failure(status, message, remedyFor(*error));
  failure.because(*error);
  return failure;
}

}  // namespace bokfolio::cli
