// Documents: the short way from a path to a context. A document is one file that holds the records
// of one bookkeeping; here it is opened with the standard model, or with a model that a host or its
// plug-ins have extended. What is in it, and what a new one begins with, is the records' business;
// other engines are opened with Context::open.
#pragma once

#include <memory>
#include <string>

#include "bokfolio/export.hpp"
#include "bokfolio/model/standard_model.hpp"
#include "bokfolio/platform/environment.hpp"
#include "bokfolio/store/context.hpp"
#include "bokfolio/store/persistence/sqlite/sqlite_persistence.hpp"

namespace bokfolio {

// A new document without any record, at a path where nothing is yet. nullptr with the engine's
// error (kPersistenceErrorDomain; AlreadyExists, ReadOnly, Full...) when it cannot be made, and
// then nothing is left behind.
BOKFOLIO_EXPORT std::unique_ptr<Context> createDocument(const std::string& path,
                                                        const Environment& environment,
                                                        ErrorOut error = nullptr);
BOKFOLIO_EXPORT std::unique_ptr<Context> createDocument(const std::string& path,
                                                        const Environment& environment,
                                                        const Model& model,
                                                        ErrorOut error = nullptr);

// An existing document, for writing (which one program at a time may do) or for reading only.
// nullptr with the engine's error when that does not work.
BOKFOLIO_EXPORT std::unique_ptr<Context> openDocument(const std::string& path, OpenMode mode,
                                                      const Environment& environment,
                                                      ErrorOut error = nullptr);
BOKFOLIO_EXPORT std::unique_ptr<Context> openDocument(const std::string& path, OpenMode mode,
                                                      const Environment& environment,
                                                      const Model& model, ErrorOut error = nullptr);

// A new document in memory, gone with its context.
BOKFOLIO_EXPORT std::unique_ptr<Context> openInMemory(const Environment& environment);
BOKFOLIO_EXPORT std::unique_ptr<Context> openInMemory(const Environment& environment,
                                                      const Model& model);

}  // namespace bokfolio
