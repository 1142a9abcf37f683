// The status of an invoice and what follows from it: the terms that are the book's until the
// invoice is sent, the due date, overdue, reminders.
#include <algorithm>
#include <array>

#include "bokfolio/model/invoicing/credit_details.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/platform/calendar.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio {

namespace {

constexpr std::array<std::string_view, 9> kStatusTextKeys = {
    "_invoice_status_not_sent", "_invoice_status_sent",           "_invoice_status_overdue",
    "_invoice_status_paid",     "_invoice_status_reminder",       "_invoice_status_2nd_reminder",
    "_invoice_status_loss",     "_invoice_status_partially_paid", "_invoice_status_returned",
};

constexpr std::int64_t code(InvoiceStatus status) { return static_cast<std::int64_t>(status); }

}  // namespace

std::optional<std::int64_t> Invoice::status() const {
  const auto stored = rawStatus();
  if (stored != code(InvoiceStatus::Sent)) return stored;
  const auto due = dueDate();
  return due && *due < environment().now() ? code(InvoiceStatus::Overdue) : stored;
}

void Invoice::setStatus(std::optional<std::int64_t> status) {
  set(Slots::status, status);
  if (status != code(InvoiceStatus::Sent)) return;
  const Book* own = book();
  setDueDate(dateAfter(own == nullptr ? std::nullopt : own->days()));
}

bool Invoice::isSent() const { return rawStatus().value_or(0) >= code(InvoiceStatus::Sent); }

bool Invoice::hasStatusAmong(std::initializer_list<InvoiceStatus> wanted) const {
  const auto own = status();
  return std::any_of(wanted.begin(), wanted.end(),
                     [&own](InvoiceStatus each) { return own == code(each); });
}

bool Invoice::isPaid() const { return hasStatusAmong({InvoiceStatus::Paid}); }

bool Invoice::canBePaid() const {
  return hasStatusAmong({InvoiceStatus::Sent, InvoiceStatus::Overdue, InvoiceStatus::Reminder,
                         InvoiceStatus::SecondReminder, InvoiceStatus::PartiallyPaid});
}

bool Invoice::isLossOrReturn() const {
  return hasStatusAmong({InvoiceStatus::CustomerLoss, InvoiceStatus::Returned});
}

std::optional<std::int64_t> Invoice::days() const {
  if (isSent()) return get(Slots::days);
  const Book* own = book();
  return own == nullptr ? std::nullopt : own->days();
}

std::optional<std::string> Invoice::creditDetails() const {
  if (isSent()) return get(Slots::creditDetails);
  const auto* terms =
      managedObjectContext().fetchFirst<CreditDetails>(Predicate("language == %@", {language()}));
  return terms == nullptr ? std::nullopt : terms->creditDetails();
}

std::optional<Date> Invoice::dateAfter(std::optional<std::int64_t> days) const {
  const auto from = date();
  if (!from) return std::nullopt;
  return addingDays(*from, days.value_or(0), environment().timeZone());
}

std::optional<Date> Invoice::dueDate() const {
  const auto stored = get(Slots::dueDate);
  if (!stored) return stored;
  const auto due = dateAfter(get(Slots::days));
  if (due == stored || isDeleted()) return due;
  // A record is never a constant, only this view of it is. Written past undo: were reading
  // something that undo takes back, the next reading would do it again and bury what the user did
  // before.
  auto& self = const_cast<Invoice&>(*this);
  self.setPrimitive(Slots::dueDate, due);
  self.willChangeValueForKey("dueDate");
  self.didChangeValueForKey("dueDate");
  return due;
}

void Invoice::reminder() {
  const auto own = status();
  if (own == code(InvoiceStatus::Overdue)) {
    setStatus(InvoiceStatus::Reminder);
  } else if (own == code(InvoiceStatus::Reminder)) {
    setStatus(InvoiceStatus::SecondReminder);
  }
}

std::optional<std::string> Invoice::statusDescription() const {
  const auto own = status();
  if (!own || *own < 0 || *own >= static_cast<std::int64_t>(kStatusTextKeys.size()))
    return std::nullopt;
  return environment().text(kStatusTextKeys[static_cast<std::size_t>(*own)]);
}

std::optional<Bytes> Invoice::indicatorBytes() const {
  const auto own = status();
  if (!own) return std::nullopt;
  const auto file = environment().resources().load("images/status" + std::to_string(*own), "png");
  return file ? std::optional(Bytes(file->begin(), file->end())) : std::nullopt;
}

std::optional<Image> Invoice::indicator() const {
  const auto file = indicatorBytes();
  return file ? Image::decode(*file) : std::nullopt;
}

}  // namespace bokfolio
