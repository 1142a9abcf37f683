#include "bokfolio/store/persistence/faults/fault_injecting_persistence.hpp"

#include <numeric>
#include <utility>

#include "bokfolio/store/persistence/internal/failure.hpp"

namespace bokfolio {

namespace {

// Lets so many records through and swallows the rest.
class CuttingSink final : public RecordSink {
 public:
  CuttingSink(RecordSink& sink, std::uint64_t records) : sink_(sink), left_(records) {}

  void begin(RecordId id, std::uint32_t version) override {
    if (left_ > 0) sink_.begin(id, version);
  }
  void integer(std::uint16_t ordinal, std::int64_t value) override {
    if (left_ > 0) sink_.integer(ordinal, value);
  }
  void real(std::uint16_t ordinal, double value) override {
    if (left_ > 0) sink_.real(ordinal, value);
  }
  void decimal(std::uint16_t ordinal, const Decimal& value) override {
    if (left_ > 0) sink_.decimal(ordinal, value);
  }
  void text(std::uint16_t ordinal, std::string_view value) override {
    if (left_ > 0) sink_.text(ordinal, value);
  }
  void date(std::uint16_t ordinal, Date value) override {
    if (left_ > 0) sink_.date(ordinal, value);
  }
  void blob(std::uint16_t ordinal, std::string_view value) override {
    if (left_ > 0) sink_.blob(ordinal, value);
  }
  void reference(std::uint16_t ordinal, RecordId value) override {
    if (left_ > 0) sink_.reference(ordinal, value);
  }
  void end() override {
    if (left_ == 0) return;
    sink_.end();
    --left_;
  }

 private:
  RecordSink& sink_;
  std::uint64_t left_;
};

class CuttingLines final : public SumLineSink {
 public:
  CuttingLines(SumLineSink& sink, std::uint64_t lines) : sink_(sink), left_(lines) {}

  void line(const SumLine& line) override {
    if (left_ == 0) return;
    sink_.line(line);
    --left_;
  }

 private:
  SumLineSink& sink_;
  std::uint64_t left_;
};

class FaultInjectingPersistence final : public Persistence {
 public:
  FaultInjectingPersistence(std::unique_ptr<Persistence> engine,
                            std::shared_ptr<PersistenceFaults> faults)
      : engine_(std::move(engine)), faults_(std::move(faults)) {}

  bool open(const Schema& schema, ErrorOut error) override {
    return call(PersistenceOperation::Open, error, [&] { return engine_->open(schema, error); });
  }
  bool load(const Entity& entity, RecordSink& sink, ErrorOut error) override {
    return deliver<CuttingSink>(PersistenceOperation::Load, sink, error,
                                [&](RecordSink& to) { return engine_->load(entity, to, error); });
  }
  bool find(const SavedQuestion& question, RecordSink& sink, ErrorOut error) override {
    return deliver<CuttingSink>(PersistenceOperation::Find, sink, error,
                                [&](RecordSink& to) { return engine_->find(question, to, error); });
  }
  bool count(const SavedQuestion& question, std::size_t& count, ErrorOut error) override {
    return call(PersistenceOperation::Count, error,
                [&] { return engine_->count(question, count, error); });
  }
  bool keepsSums(const Entity& entity, bool& kept, ErrorOut error) override {
    return call(PersistenceOperation::KeepsSums, error,
                [&] { return engine_->keepsSums(entity, kept, error); });
  }
  bool sums(const Entity& entity, const SumLineQuestion& question, SumLineSink& sink,
            ErrorOut error) override {
    return deliver<CuttingLines>(PersistenceOperation::Sums, sink, error, [&](SumLineSink& to) {
      return engine_->sums(entity, question, to, error);
    });
  }
  bool nextId(const Entity& entity, RecordId& id, ErrorOut error) override {
    return call(PersistenceOperation::NextId, error,
                [&] { return engine_->nextId(entity, id, error); });
  }
  bool commit(const ChangeSet& changes, ErrorOut error) override {
    return call(PersistenceOperation::Commit, error,
                [&] { return engine_->commit(changes, error); });
  }
  bool backup(const std::string& path, ErrorOut error) override {
    return call(PersistenceOperation::Backup, error, [&] { return engine_->backup(path, error); });
  }
  bool verify(ErrorOut error) override {
    return call(PersistenceOperation::Verify, error, [&] { return engine_->verify(error); });
  }

 private:
  template <class Work>
  bool call(PersistenceOperation operation, ErrorOut error, Work work) {
    const auto fault = faults_->meet(operation);
    if (!fault) return work();
    return internal::failPersistence(error, fault->code, fault->description);
  }

  // Work that hands its answer to a sink, of which a part may arrive.
  template <class Cutting, class Sink, class Work>
  bool deliver(PersistenceOperation operation, Sink& sink, ErrorOut error, Work work) {
    const auto fault = faults_->meet(operation);
    if (!fault) return work(sink);
    Cutting cut(sink, fault->afterRecords);
    if (fault->afterRecords > 0 && !work(cut)) return false;
    return internal::failPersistence(error, fault->code, fault->description);
  }

  std::unique_ptr<Persistence> engine_;
  std::shared_ptr<PersistenceFaults> faults_;
};

}  // namespace

void PersistenceFaults::add(PersistenceFault fault) { waiting_.push_back(std::move(fault)); }

void PersistenceFaults::clear() { waiting_.clear(); }

std::uint64_t PersistenceFaults::calls() const {
  return std::accumulate(calls_.begin(), calls_.end(), std::uint64_t{0});
}

std::uint64_t PersistenceFaults::calls(PersistenceOperation operation) const {
  return calls_[static_cast<std::size_t>(operation)];
}

std::optional<PersistenceFault> PersistenceFaults::meet(PersistenceOperation operation) {
  ++calls_[static_cast<std::size_t>(operation)];
  std::optional<PersistenceFault> met;
  std::vector<PersistenceFault> left;
  for (PersistenceFault& fault : waiting_) {
    const bool counts = !fault.operation || *fault.operation == operation;
    const bool lasting = fault.call == 0;
    if (counts && !lasting) --fault.call;
    if (counts && !met && fault.call == 0) met = fault;
    if (lasting || fault.call > 0) left.push_back(std::move(fault));
  }
  waiting_ = std::move(left);
  if (met) ++fired_;
  return met;
}

std::unique_ptr<Persistence> makeFaultInjectingPersistence(
    std::unique_ptr<Persistence> engine, std::shared_ptr<PersistenceFaults> faults) {
  return std::make_unique<FaultInjectingPersistence>(std::move(engine), std::move(faults));
}

}  // namespace bokfolio
