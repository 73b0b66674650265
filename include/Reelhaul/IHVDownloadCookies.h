#pragma once
/// \class Halvorn::IHVDownloadCookies
/// Where the tool gets cookies from, for sites that answer a logged-in browser only; and the service that
/// makes cookies files.
///
/// A record holds the path of a cookies file or names a browser that the tool reads itself; the path goes
/// first. GenerateCookiesFile and GenerateCookiesFile2 make a file.
///
/// A run adds the cookies that a site gives to the file. Any number of tasks, of any number of processes, may
/// use one file at once: each writes its own changes only, and the file is whole at any time. A tool that is
/// frozen into a binary rewrites the file in its own way, for which tasks at once need files of their own. A
/// file that can't be written stays as it is.
///
/// Thread-safety: any operation from any thread. Ownership: shared pointers. A record whose worker runs keeps
/// itself alive.

#include "HVBrowserQuestion.h"
#include "HVDownloadBrowser.h"
#include "HVExport.h"
#include "IHVBrowserState.h"
#include "IHVError.h"

#include <functional>
#include <memory>
#include <string>

namespace Halvorn {

class HV_EXPORT IHVDownloadCookies {
public:
    /// Gets the path of the new file, empty when none was made, and the browser's last state, which tells
    /// why. The state is empty when there was no browser to ask.
    using Callback = std::function<void(std::string const&, std::shared_ptr<IHVBrowserState const>)>;

    /// Gets the outcome of AskRunningBrowser, and the path of the cookies file, empty after a failure.
    using AnswerFunc = std::function<void(std::shared_ptr<IHVError const>, std::string const&)>;

    /// A record without path and browser.
    static std::shared_ptr<IHVDownloadCookies> MallocDownloadCookies();
    /// A record for the cookies file at `path`.
    static std::shared_ptr<IHVDownloadCookies> MallocDownloadCookies(std::string const& path);
    /// A record for the cookies of `browser`, read by the tool.
    static std::shared_ptr<IHVDownloadCookies> MallocDownloadCookies(HVDownloadBrowser browser);

    /// Path of the cookies file; empty when there is none.
    virtual std::string GetCookiesPathFile() const = 0;
    /// A record of its own with the same path and browser; a worker of this one is not its.
    virtual std::shared_ptr<IHVDownloadCookies> Clone() const = 0;
    ///@{
    /// The browser that the tool reads at each run, HVDownloadBrowserUnknown for none. Counts only without a
    /// path.
    virtual void SetCookiesFromBrowser(HVDownloadBrowser browser) = 0;
    virtual HVDownloadBrowser GetCookiesFromBrowser() const = 0;
    ///@}

    /// Has the tool write the cookies of `browser` to a new file in the folder `path`. The record's path is
    /// that file from now on, also after a failure. The file holds the browser's logins: name a folder that
    /// nobody else can read. Blocks until the tool has ended, for at most ten minutes, since the desktop may
    /// ask the user for a password meanwhile; can't be stopped.
    virtual std::shared_ptr<IHVError const> GenerateCookiesFile(std::string const& path,
                                                                HVDownloadBrowser browser) = 0;
    /// Asks the running browser for its cookies and writes them to a file in the folder `path`. Returns at
    /// once; `callback`, which may be empty, is called exactly once on a worker thread, at the latest after
    /// `timeout` seconds. HVDownloadBrowserUnknown stands for HVDownloadBrowserProbed where that has run. The
    /// record's path stays as it is. Fails with HVErrorCodeIO, and then never calls back, while the record's
    /// last worker runs, which is until its callback has returned.
    virtual std::shared_ptr<IHVError const> GenerateCookiesFile2(std::string const& path, Callback callback,
                                                                 HVDownloadBrowser browser,
                                                                 long long timeout) = 0;
    /// Address of a browser's add-on for cookies. None is known: always empty.
    virtual std::string CookiesPluginInstallerURL(HVDownloadBrowser browser) = 0;

    /// Asks a running browser for the cookies of certain sites, or for all, and writes them to a new file
    /// that is the user's alone (0600). Returns at once; `answer` is called exactly once on a worker thread:
    /// with a success and the path, with the cancel after StopAsking, or with a failure whose message says in
    /// words for a user what stands in the way. The record's path stays as it is. Fails with HVErrorCodeIO,
    /// and then never calls back, while the record's last worker runs.
    std::shared_ptr<IHVError const> AskRunningBrowser(HVBrowserQuestion const& question, AnswerFunc answer);
    /// Ends the wait of AskRunningBrowser; returns at once.
    void StopAsking();

    /// Which of the browser's stores the tool reads; what is empty is left to the tool.
    struct BrowserStore {
        std::string profile;   ///< name of a profile, or the path of its folder
        std::string container; ///< of Firefox; "none" for cookies outside of all containers
        std::string keyring; ///< that decrypts Chromium's cookies on Linux, such as "basictext" or "kwallet5"
    };
    /// Counts wherever the tool reads a browser for this record; a clone has it, too.
    void SetBrowserStore(BrowserStore store);
    BrowserStore GetBrowserStore() const; ///< as it was set

    /// The value of the tool's "--cookies-from-browser": CookiesFromBrowserParamName, with the store where
    /// one is set.
    std::string CookiesFromBrowserArgument() const;
    /// IHVBrowserState::BrowserName of the record's browser.
    std::string CookiesFromBrowserName() const;
    /// IHVBrowserState::BrowserParamName of the record's browser.
    std::string CookiesFromBrowserParamName() const;

protected:
    ~IHVDownloadCookies() = default;
};

} // namespace Halvorn
