#include "bokfolio/model/standard_model.hpp"
#include "bokfolio/store/persistence/faults/fault_injecting_persistence.hpp"
#include "bokfolio/store/persistence/memory/memory_persistence.hpp"
#include "bokfolio/store/persistence/sqlite/sqlite_persistence.hpp"
#include "bokfolio/store/store_error.hpp"
#include "tests/faults/firm.hpp"
#include "tests/faults/scenarios.hpp"

namespace bokfolio::faults {

namespace {

const std::shared_ptr<const Schema>& schema() {
  static const std::shared_ptr<const Schema> made = standardModel().freeze();
  return made;
}

// A copy of the sample in memory.
std::shared_ptr<MemoryDocument> copyInMemory() {
  static const auto original = [] {
    auto document = std::make_shared<MemoryDocument>();
    makeFirm(*Context::open(schema(), makeMemoryPersistence(document), world().environment));
    return document;
  }();
  static int copies = 0;
  const std::string name = "copy " + std::to_string(++copies);
  const auto engine = makeMemoryPersistence(original);
  expect(engine->open(*schema(), nullptr) && engine->backup(name, nullptr), "a copy is made");
  return original->backup(name);
}

// One copy of the sample behind an engine that can be told to fail.
struct Bench {
  Bench(Engine kind, const std::string& path) {
    if (kind == Engine::Sqlite) writeBytes(path, sample().bytes);
    make = [path, memory = kind == Engine::Memory ? copyInMemory() : nullptr] {
      return memory != nullptr
                 ? makeMemoryPersistence(memory)
                 : makeSqlitePersistence({path, OpenMode::ReadWrite, "1", world().clock, 0});
    };
  }

  bool open(ErrorOut error = nullptr) {
    opened = nullptr;
    beginAnew();
    opened = Context::open(schema(), makeFaultInjectingPersistence(make(), faults),
                           world().environment, error);
    return opened != nullptr;
  }
  bool isOpen() const { return opened != nullptr; }
  Context& context() const { return *opened; }

  std::function<std::unique_ptr<Persistence>()> make;
  std::shared_ptr<PersistenceFaults> faults = std::make_shared<PersistenceFaults>();
  std::unique_ptr<Context> opened;
};

struct Trial {
  const Operation& operation;
  Engine engine;
  std::string path;
  Dump before;
  Dump after;
  Dump afterByPlace;
  std::string figures;
};

Answer attempt(Bench& bench, const Operation& operation) {
  Answer answer;
  if (!bench.isOpen() && !bench.open(&answer.error)) return answer;
  try {
    return operation.run(bench.context());
  } catch (const LoadError& failure) {
    answer.error =
        Error(kPersistenceErrorDomain, static_cast<int>(PersistenceError::Failed), failure.what());
    return answer;
  }
}

void expectSame(const Dump& expected, const Dump& seen, const std::string& what) {
  const std::string found = difference(expected, seen);
  expect(found.empty(), what + ": " + found);
}

void expectSound(Bench& bench) {
  const std::string found = unsoundness(bench.context());
  expect(found.empty(), "the document is unsound: " + found);
}

// The operation was refused: everything is as it was.
void expectOld(Bench& bench, const Trial& trial, bool look) {
  if (!bench.isOpen()) return;
  bench.context().rollback();
  beginAnew();
  expect(!bench.context().hasChanges(), "a rollback leaves changes");
  if (!look) return;
  expectSound(bench);
  expectSame(trial.before, dumpOf(bench.context()), "after a rollback");
}

// The operation was done: all of it.
void expectNew(Bench& bench, const Trial& trial, const Answer& answer, Ids ids) {
  expect(answer.figures == trial.figures,
         "other figures: " + answer.figures + "\nnot " + trial.figures);
  beginAnew();
  const Dump& after = ids == Ids::AsStored ? trial.after : trial.afterByPlace;
  expectSame(after, dumpOf(bench.context(), ids), "done, in memory");
  expectSound(bench);
  expect(bench.open(), "the document does not open");
  expectSound(bench);
  expectSame(after, dumpOf(bench.context(), ids), "done, in the document");
}

// How many calls the operation makes when nothing fails.
std::uint64_t succeed(Trial& trial) {
  Bench bench(trial.engine, trial.path);
  expect(bench.open(), "the sample opens");
  trial.before = dumpOf(bench.context());
  expect(bench.open(), "the sample opens");
  if (trial.operation.fromOpening) bench.faults = std::make_shared<PersistenceFaults>();
  if (trial.operation.fromOpening) expect(bench.open(), "the sample opens");
  const std::uint64_t start = trial.operation.fromOpening ? 0 : bench.faults->calls();
  const Answer answer = attempt(bench, trial.operation);
  expect(answer.done, "refused without a fault: " + answer.sentence());
  const std::uint64_t calls = bench.faults->calls() - start;
  trial.figures = answer.figures;
  trial.after = dumpOf(bench.context());
  trial.afterByPlace = dumpOf(bench.context(), Ids::ByPlace);
  expectNew(bench, trial, answer, Ids::AsStored);
  return calls;
}

void failOne(Table& table, const Trial& trial, std::uint64_t call, PersistenceError code) {
  Bench bench(trial.engine, trial.path);
  if (!trial.operation.fromOpening) expect(bench.open(), "the sample opens");
  // Every third answer breaks off in the middle.
  bench.faults->add({call, std::nullopt, code, "The engine was told to fail.", call % 3 / 2});
  const Answer answer = attempt(bench, trial.operation);
  const std::string fault = std::string("call fails: ") + trial.operation.name;
  expect(bench.faults->fired() == 1, "the fault was not met");
  if (answer.done) {
    expectNew(bench, trial, answer, Ids::AsStored);
    table.count(fault, Ending::New);
    return;
  }
  table.count(fault, Ending::Old, wordsOf(answer.error));
  // Three hosts: one looks at everything, one tries again at once, one starts again.
  const std::uint64_t host = (call + static_cast<std::uint64_t>(code)) % 3;
  expectOld(bench, trial, host == 0);
  const bool reopened = host == 2 || !bench.isOpen();
  if (reopened) {
    expect(bench.open(), "the document does not open");
    expectSame(trial.before, dumpOf(bench.context()), "after opening again");
    expect(bench.open(), "the document does not open");
  }
  const Answer again = attempt(bench, trial.operation);
  expect(again.done, "refused without a fault: " + again.sentence());
  expectNew(bench, trial, again, reopened ? Ids::AsStored : Ids::ByPlace);
}

}  // namespace

void failEngineCalls(Table& table, Engine engine, const Operation& operation,
                     const std::vector<PersistenceError>& codes) {
  const TemporaryFolder folder;
  Trial trial{operation, engine, folder / "firm", {}, {}, {}, ""};
  const std::uint64_t calls = succeed(trial);
  for (std::uint64_t call = 1; call <= calls; ++call) {
    for (const PersistenceError code : codes) {
      try {
        failOne(table, trial, call, code);
      } catch (const std::exception& broken) {
        throw Broken(std::string(operation.name) +
                     (engine == Engine::Memory ? " in memory" : " in a file") + ", call " +
                     std::to_string(call) + " of " + std::to_string(calls) + " failing with code " +
                     std::to_string(static_cast<int>(code)) + ": " + broken.what());
      }
    }
  }
}

}  // namespace bokfolio::faults
