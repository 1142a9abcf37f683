// Entries described in XML files, as other programs write them. The library makes of a description
// what it can and passes over the rest; a bookkeeper's file is taken whole or not at all.
#pragma once

#include <string>

#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/platform/xml.hpp"
#include "session.hpp"

namespace bokfolio::cli {

// The file, read and found to be XML.
XmlDocument readDescription(const std::string& path);

// Gives the entry the description's name, note, date and rows. Failure, with the file and the
// number of the row, for what the description says and the document does not have: an account, a
// tag; and for amounts and a date that cannot be read.
void defineFromDescription(const Session& session, Entry* entry, const XmlElement& description,
                           const std::string& path);

}  // namespace bokfolio::cli
