// Work in a process of its own, which may be killed or run out of what it needs.
#pragma once

#include <functional>
#include <optional>
#include <string>

namespace bokfolio::faults {

// What the work answers; nullopt when its process ended before it answered. Throws Broken when the
// work threw, crashed, or ran on without an end.
std::optional<std::string> inChild(const std::function<std::string()>& work);

// Kills this process after so much time.
void killMeAfter(long microseconds);
// From now on no file of this process grows beyond the size; nullopt lifts the limit.
void limitFiles(std::optional<std::size_t> bytes);
// Goes on as nobody in particular; false when that is not permitted and root may do everything.
bool becomeNobody();
long microsecondsOf(const std::function<void()>& work);

}  // namespace bokfolio::faults
