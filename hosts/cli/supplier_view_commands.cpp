// `supplier list` and `supplier show`.

#include <memory>

#include "commands.hpp"
#include "supplier_commands.hpp"
#include "supplier_output.hpp"

namespace bokfolio::cli {

namespace {

struct ViewOptions {
  std::string bill;
  bool unpaid = false;
  bool overdue = false;
};

void listBills(Host& host, const ViewOptions& options) {
  const Session session = Session::reading(host);
  session.read([&] {
    std::vector<PlacedBill> bills = allBills(session);
    std::erase_if(bills, [&](const PlacedBill& bill) {
      const std::string_view state = stateWord(*bill.record);
      return (options.unpaid && state == "paid") || (options.overdue && state != "overdue");
    });
    if (!host.json()) return printBills(session, bills);
    Json list = Json::array();
    for (const auto& [place, bill] : bills) list.push_back(billJson(session, *bill, place));
    host.print(list);
  });
}

void showBill(Host& host, const ViewOptions& options) {
  const Session session = Session::reading(host);
  session.read([&] {
    const SupplierInvoice* bill = findBill(session, options.bill);
    if (host.json()) return host.print(billJson(session, *bill, placeOf(session, *bill)));
    printBill(session, *bill);
  });
}

}  // namespace

void addBillViews(CLI::App& supplier, Host& host) {
  const auto options = std::make_shared<ViewOptions>();
  CLI::App* list = supplier.add_subcommand("list", "Show the bills and what is owed on them");
  list->add_flag("--unpaid", options->unpaid, "Only bills that are not paid");
  list->add_flag("--overdue", options->overdue, "Only unpaid bills past their day");
  list->footer(
      "What is owed is in the book's currency, and read from the entries once a bill is booked.\n"
      "The first column names a bill in all commands, and so does the supplier's number.");
  onRun(list, host, [options](Host& h) { listBills(h, *options); });

  CLI::App* show = supplier.add_subcommand("show", "Show a bill, its VAT and what was booked");
  addBillArgument(show, options->bill);
  onRun(show, host, [options](Host& h) { showBill(h, *options); });
}

void addBillArgument(CLI::App* command, std::string& bill) {
  command->add_option("bill", bill, "The supplier's number of it, or b1 for the first registered")
      ->required();
}

void addSupplierCommands(CLI::App& app, Host& host) {
  CLI::App* group =
      addGroup(app, "supplier", "Bills from suppliers: add, line, list, show, book, pay");
  addBillComposing(*group, host);
  addBillViews(*group, host);
  addBillBooking(*group, host);
}

}  // namespace bokfolio::cli
