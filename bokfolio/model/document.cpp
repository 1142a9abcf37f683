#include "bokfolio/model/document.hpp"

#include <utility>

#include "bokfolio/store/persistence/memory/memory_persistence.hpp"
#include "bokfolio/version.hpp"

namespace bokfolio {

namespace {

class EnvironmentClock final : public Clock {
 public:
  explicit EnvironmentClock(Environment environment) : environment_(std::move(environment)) {}
  Date now() const override { return environment_.now(); }

 private:
  Environment environment_;
};

}  // namespace

std::unique_ptr<Context> createDocument(const std::string& path, const Environment& environment,
                                        ErrorOut error) {
  return createDocument(path, environment, standardModel(), error);
}

std::unique_ptr<Context> createDocument(const std::string& path, const Environment& environment,
                                        const Model& model, ErrorOut error) {
  return openDocument(path, OpenMode::Create, environment, model, error);
}

std::unique_ptr<Context> openDocument(const std::string& path, OpenMode mode,
                                      const Environment& environment, ErrorOut error) {
  return openDocument(path, mode, environment, standardModel(), error);
}

std::unique_ptr<Context> openDocument(const std::string& path, OpenMode mode,
                                      const Environment& environment, const Model& model,
                                      ErrorOut error) {
  SqliteOptions options;
  options.path = path;
  options.mode = mode;
  options.applicationVersion = std::string(kVersion);
  options.clock = std::make_shared<const EnvironmentClock>(environment);
  return Context::open(model.freeze(), makeSqlitePersistence(std::move(options)), environment,
                       error);
}

std::unique_ptr<Context> openInMemory(const Environment& environment) {
  return openInMemory(environment, standardModel());
}

std::unique_ptr<Context> openInMemory(const Environment& environment, const Model& model) {
  return Context::open(model.freeze(), makeMemoryPersistence(), environment);
}

}  // namespace bokfolio
