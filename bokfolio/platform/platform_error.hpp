// The errors that platform services report: pictures and XML that cannot be read, files that cannot
// be written, downloads that fail. They have a domain of their own, so that they never mix with the
// rules of bookkeeping. Their descriptions are plain English; a host that wants another language
// goes by the code.
#pragma once

#include <string>
#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/error.hpp"

namespace bokfolio {

inline constexpr std::string_view kPlatformErrorDomain = "BokfolioPlatformErrorDomain";

enum class PlatformErrorCode {
  ImageEmpty = 1,         // no bytes at all
  ImageTooLarge = 2,      // more bytes or more pixels than Image accepts
  ImageUndecodable = 3,   // neither PDF nor a bitmap that decodes completely
  ImageNotConverted = 4,  // no bitmap to convert to TIFF, or the conversion failed
  FileNotWritten = 5,     // preferences could not be saved
  XmlTooLarge = 6,        // more bytes, levels or nodes than the limits allow
  XmlMalformed = 7,       // not well-formed, or in an encoding that is not read
  HttpRefused = 8,       // the address is none, or its scheme is not allowed; also after a redirect
  HttpUnreachable = 9,   // no such host, or nobody there takes the connection
  HttpNotTrusted = 10,   // the server's certificate cannot be verified
  HttpTimedOut = 11,     // not finished in time
  HttpTooLarge = 12,     // the answer is longer than the caller takes
  HttpStatus = 13,       // the server answered with another status than 200
  HttpRedirects = 14,    // redirected more often than allowed
  HttpInterrupted = 15,  // the transfer began and broke
  PropertyListMalformed = 16,  // well-formed XML, but no property list
};

// Fills `error` when the caller wants one. Answers false, so that a failing operation can return
// it.
BOKFOLIO_EXPORT bool failPlatform(ErrorOut error, PlatformErrorCode code, std::string description);

}  // namespace bokfolio
