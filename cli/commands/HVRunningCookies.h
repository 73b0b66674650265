#pragma once
// The cookies of a running browser, for one run of the command. One thread.

#include <Reelhaul/HVBrowserQuestion.h>

#include <string>

namespace Halvorn {

struct HVRequest;
class HVSession;

/// Reads "BROWSER" or "BROWSER:PROFILE". Returns the fault; empty when all is well.
std::string ReadRunningBrowser(std::string const& given, HVBrowserQuestion& question);

/// Removes the cookies file when it goes.
class HVRunningCookies {
public:
    HVRunningCookies() = default;
    HVRunningCookies(HVRunningCookies const&) = delete;
    HVRunningCookies& operator=(HVRunningCookies const&) = delete;
    ~HVRunningCookies();

    /// Asks the browser that the request names, if it names one, for the cookies of its addresses, and has
    /// the request use them. Returns HVExitDone, or the status of a fault that it has told.
    int Ask(HVSession& session, HVRequest& request);

private:
    std::string file_;
};

} // namespace Halvorn
