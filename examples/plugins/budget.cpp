// A plug-in that keeps a budget: for each account and fiscal year the amount that is planned, and
// for each account a note on how it was planned. Its menu item takes the latest year's balances of
// income and costs as that year's budget, to start from.
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/plugins/plugin_abi.hpp"
#include "bokfolio/store/entity_table.hpp"

namespace planning {

using namespace bokfolio;

class Budget : public Record {
 public:
  static constexpr std::string_view kEntityName = "Budget";
  struct Slots {
    static constexpr Slot<Decimal> amount{0};
    static constexpr ToOneSlot<Account> account{1};
    static constexpr ToOneSlot<FiscalYear> fiscalYear{2};
  };
  using Record::Record;

  // Debit-positive, as balances are.
  std::optional<Decimal> amount() const { return get(Slots::amount); }
  void setAmount(const std::optional<Decimal>& amount) { set(Slots::amount, amount); }
  void setAccount(Account* account) { set(Slots::account, account); }
  void setFiscalYear(FiscalYear* year) { set(Slots::fiscalYear, year); }

  static EntityDescription table() {
    EntityTable<Budget> table{std::string(kEntityName)};
    table.attribute(Slots::amount, "amount").defaultValue(Decimal(0));
    table.toOne(Slots::account, "account", "Account").required();
    table.toOne(Slots::fiscalYear, "fiscalYear", "FiscalYear").required();
    table.index({"account"});
    return table.description();
  }
};

class BudgetPlugin : public BFMenuActionPluginBase {
 public:
  using BFMenuActionPluginBase::BFMenuActionPluginBase;

  std::int32_t type() const override { return 1; }
  std::string title() const override { return "Budget"; }
  std::int32_t tag() const override { return 8101; }

  Model managedObjectModelWithBaseModel(Model model) const override {
    PropertyDescription note;
    note.name = "budgetNote";
    note.kind = PropertyKind::String;
    if (EntityDescription* account = model.entity("Account")) account->properties.push_back(note);
    model.add(Budget::table());
    return model;
  }

  void action(void* /*sender*/) override {
    Context& context = *managedObjectContext();
    const std::vector latestFirst{SortDescriptor("end", false)};
    auto* year = context.fetchFirst<FiscalYear>(std::nullopt, latestFirst);
    if (year == nullptr) return;
    for (auto* account : context.fetch<Account>(Account::resultAccountPredicate())) {
      Budget& budget = budgetOf(*account, *year);
      budget.setAmount(account->balanceByDate(std::nullopt, year));
      account->setValueForKey(Value("as " + year->name().value_or("last year")), "budgetNote");
    }
    context.closeUndoGroup();
  }

 private:
  static Budget& budgetOf(Account& account, FiscalYear& year) {
    Context& context = account.managedObjectContext();
    const Predicate same("account == %@ AND fiscalYear == %@", {&account, &year});
    if (auto* budget = context.fetchFirst<Budget>(same)) return *budget;
    auto* budget = context.insert<Budget>();
    budget->setAccount(&account);
    budget->setFiscalYear(&year);
    return *budget;
  }
};

}  // namespace planning

BOKFOLIO_PLUGIN(planning::BudgetPlugin);
