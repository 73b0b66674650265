#pragma once
// The command line: what may stand on it, its help, and what it asks for.

#include "HVCommandDescription.h"
#include "HVOptionReader.h"
#include "HVRequest.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace Halvorn {

class HVSession;

class HVCommandLine {
public:
    HVCommandLine();
    ~HVCommandLine();
    HVCommandLine(HVCommandLine const&) = delete;
    HVCommandLine& operator=(HVCommandLine const&) = delete;

    /// Reads the arguments. Returns an empty text when Request and Run stand ready; else the text to print,
    /// with the status in `status`: a help text with HVExitDone, a fault with HVExitUsage.
    std::string Parse(int count, char const* const* arguments, int& status);

    /// Whether nothing but faults and results is wanted.
    bool Quiet() const;
    /// Does what was asked for; returns the exit status.
    int Run(HVSession& session) { return run_(session, request_); }

    /// What may stand on it.
    HVCommandDescription Description() const;
    /// What the help says at its end.
    std::string Footer() const;

private:
    /// Parse without the hint at the help.
    std::string Read(int count, char const* const* arguments, int& status);
    using Command = int (*)(HVSession&, HVRequest&);

    static CLI::Option& AddSwitch(CLI::App& app, char const* name, bool& wanted, char const* help);
    CLI::App& Add(char const* name, char const* help, Command command);
    void AddInfo();
    void AddGet();
    void AddLesser();
    void AddQueue();
    void AddQueueFile(CLI::App& app);
    void AddQueueRows(CLI::App& app, bool required);
    void AddDownloading(CLI::App& app);
    void AddToGet(CLI::App& app);
    void AddAddresses(CLI::App& app);
    void AddGoingOn(CLI::App& app);
    void AddItems(CLI::App& app);
    void AddPause(CLI::App& app);
    void AddNames(CLI::App& app);
    void AddFormatChoice(CLI::App& app);
    void AddToolPaths(CLI::App& app);
    void AddRuns(CLI::App& app);
    void AddRunningBrowser(CLI::App& app);
    void AddCookies();
    void AddRecords(CLI::App& app, bool downloads);
    std::string CookiesFault() const;
    std::string TakeItems();
    std::string TakeRows();
    /// Reads the lists. Returns the fault.
    std::string TakeAddresses();
    /// Completes the names' template. Returns the fault.
    std::string NameFault();
    /// Completes the request from what was given. Returns the fault.
    std::string Complete();

    std::unique_ptr<CLI::App> app_;
    HVRequest request_;
    HVGivenOptions given_;
    std::vector<CLI::App const*> addressTakers_;
    std::vector<std::string> urls_;
    std::vector<std::string> rows_;
    std::vector<std::string> lists_;
    std::string newest_;
    std::string sleepBetween_;
    std::string totalRate_;
    std::string jobs_;
    std::string analyses_;
    std::string duration_;
    Command run_ = nullptr;
};

} // namespace Halvorn
