// The errors that platform services report: pictures that cannot be read, files that cannot be
// written. They have a domain of their own, so that they never mix with the rules of bookkeeping.
// Their descriptions are plain English; a host that wants another language goes by the code.
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
};

// Fills `error` when the caller wants one. Answers false, so that a failing operation can return
// it.
BOKFOLIO_EXPORT bool failPlatform(ErrorOut error, PlatformErrorCode code, std::string description);

}  // namespace bokfolio
