// Desk: the library's side of a simulated firm. One document, in memory or in a file of a folder of
// its own, behind an engine that can be told to fail, opened with a model to which a plug-in has
// added an entity and a key. Only the library's public face is used.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/platform/dialog.hpp"
#include "bokfolio/store/context.hpp"
#include "bokfolio/store/persistence/faults/fault_injecting_persistence.hpp"
#include "bokfolio/store/persistence/memory/memory_persistence.hpp"
#include "tests/simulation/plain_firm.hpp"
#include "tests/world/world.hpp"

namespace bokfolio::simulation {

// The plug-in's entity: what an account is expected to come to in a year.
class Budget : public Record {
 public:
  static constexpr std::string_view kEntityName = "Budget";
  struct Slots {
    static constexpr Slot<Decimal> amount{0};
    static constexpr ToOneSlot<Account> account{1};
    static constexpr ToOneSlot<FiscalYear> fiscalYear{2};
  };
  using Record::Record;

  std::optional<Decimal> amount() const { return get(Slots::amount); }
  void setAmount(const Decimal& amount) { set(Slots::amount, amount); }
  Account* account() const { return get(Slots::account); }
  void setAccount(Account* account) { set(Slots::account, account); }
  void setFiscalYear(FiscalYear* year) { set(Slots::fiscalYear, year); }

  static EntityDescription table();
};

class Desk {
 public:
  explicit Desk(bool sqlite);
  ~Desk();
  Desk(const Desk&) = delete;
  Desk& operator=(const Desk&) = delete;

  enum class Plugin { There, Away };
  // Closes the document and opens it again; what was not saved is lost.
  void reopen(Plugin plugin = Plugin::There);
  Context& context() { return *context_; }
  template <class T>
  T* get(Id id) {
    Record* found = id == 0 ? nullptr : context_->find(T::kEntityName, id);
    if (found == nullptr)
      throw Disagreement(std::string(T::kEntityName) + ' ' + std::to_string(id) + " is gone");
    return static_cast<T*>(found);
  }
  template <class T>
  T* getOrNull(Id id) {
    return id == 0 ? nullptr : get<T>(id);
  }
  Instant now() const { return world.clock->now().microseconds(); }
  // Runs what waits for its moment.
  void settle() { world.runLoop->advance(10'000); }
  // Drops clean records from memory, where the store offers that.
  void release() { releaseUnused(*context_); }
  Dump dump();
  // Throws when the store or its engine finds itself inconsistent.
  void verify();

  test::TestWorld world;
  std::shared_ptr<PersistenceFaults> faults = std::make_shared<PersistenceFaults>();

 private:
  template <class Store>
  static void releaseUnused(Store& store) {
    if constexpr (requires { store.releaseUnused(); }) store.releaseUnused();
  }
  std::unique_ptr<Persistence> engine() const;

  bool sqlite_;
  std::filesystem::path folder_;
  std::shared_ptr<MemoryDocument> memory_ = std::make_shared<MemoryDocument>();
  std::unique_ptr<Context> context_;
};

}  // namespace bokfolio::simulation
