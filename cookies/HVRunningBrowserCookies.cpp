// AskRunningBrowser: one question to a running browser, and the file that its answer makes.

#include "HVApplicationCall.h"
#include "HVAtomicFile.h"
#include "HVCallback.h"
#include "HVDownLoadCookies.h"
#include "HVFileReservation.h"
#include "HVLatch.h"
#include "IHVBase64Codec.h"
#include "IHVCookieMessage.h"
#include "IHVCookieStock.h"
#include "IHVFileProvider.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

namespace Halvorn {

namespace {

using Clock = std::chrono::steady_clock;
using Result = std::shared_ptr<IHVError const>;

/// Milliseconds between two looks at the state; a stop ends the pause.
constexpr unsigned int kLookPause = 50;
/// More than a user waits, in seconds: longer times could overflow a clock.
constexpr long long kLongestWait = 7LL * 24 * 60 * 60;

Result Failure(int line, std::string const& text) {
    return IHVError::MallocError("HVDownLoadCookies", line, "AskRunningBrowser", -1, "Error", text.c_str());
}

/// Waits for the state that answers the message, or tells why none comes.
Result AwaitAnswer(IHVCookieStock& stock, std::shared_ptr<IHVCookieMessage const> const& message,
                   HVBrowserQuestion const& question, HVLatch const& stop) {
    auto* const requests = dynamic_cast<IHVCookieRequests*>(&stock);
    auto const end =
        Clock::now() + std::chrono::seconds(std::clamp(question.timeoutSeconds, 0LL, kLongestWait));
    for (;;) {
        auto const state = requests != nullptr ? requests->GetRequestState(message)
                                               : stock.GetBrowserState(question.browser);
        if (!state->IsResponding())
            return Failure(__LINE__, state->GetStateText());
        if (state->GetStateTime() >= message->GetMessageTime() && state->HasCookieData())
            return nullptr;
        if (Clock::now() >= end)
            return Failure(__LINE__, IHVBrowserState::BrowserName(question.browser) +
                                         " did not answer within " + std::to_string(question.timeoutSeconds) +
                                         " s. " + state->GetStateText());
        if (stop.Wait(kLookPause) == HVErrSuccess)
            return IHVError::MallocCancel("HVDownLoadCookies", __LINE__, "AskRunningBrowser");
    }
}

/// Empty on success.
Result WriteFile(std::string const& base64, std::string const& folder, std::string& path) {
    auto const bytes = IHVBase64Codec::Decode(base64);
    if (bytes.empty())
        return Failure(__LINE__, "The browser's answer can't be read.");
    auto const place = folder.empty() ? IHVFileProvider::GetTmpPath() : folder;
    auto const target =
        IHVFileProvider::CreateUniquePathFile(IHVFileProvider::CreateRandomFileName("", 10), "txt", place);
    HVAtomicFile file(target);
    int error = file.Open(0600);
    if (error == 0)
        error = file.Write(bytes);
    if (error == 0)
        error = file.Commit(false);
    ReleaseFileReservation(target);
    if (error != 0)
        return Failure(__LINE__, "The cookies can't be written into \"" + place +
                                     "\": " + FileErrorReason(error) + ".");
    path = target;
    return nullptr;
}

Result Ask(HVBrowserQuestion const& question, HVLatch const& stop, std::string& path) {
    auto const stock = IHVCookieStock::SharedCookieStock();
    auto const state = stock->GetBrowserState(question.browser);
    if (!state->IsReachable() || state->IsRequestBlocked())
        return Failure(__LINE__, state->GetStateText());
    std::shared_ptr<IHVCookieMessage const> const message =
        IHVCookieMessage::MallocCookieMessage(0, question.browser, question.addresses, question.profile);
    auto* const requests = dynamic_cast<IHVCookieRequests*>(stock.get());
    if (auto sent = stock->SendCookieMessage(message); sent != nullptr && !sent->Succeed())
        return sent;
    auto result = AwaitAnswer(*stock, message, question, stop);
    if (result == nullptr)
        result = WriteFile(requests != nullptr ? requests->TakeCookieData(message) : stock->GetCookieData(),
                           question.folder, path);
    if (requests != nullptr)
        requests->EndRequest(message);
    return result != nullptr ? result
                             : IHVError::MallocSucceed("HVDownLoadCookies", __LINE__, "AskRunningBrowser");
}

} // namespace

std::shared_ptr<IHVError const> HVDownloadCookies::StartAsking(HVBrowserQuestion const& question,
                                                               AnswerFunc answer) {
    if (question.browser == HVDownloadBrowserUnknown)
        return Failure(__LINE__, "Browser is unknown.");
    auto stop = std::make_shared<HVLatch>();
    // The record lives as long as its worker.
    auto work = [self = shared_from_this(), question, stop, answer = std::move(answer)] {
        std::string path;
        Result result;
        try {
            result = Ask(question, *stop, path);
        } catch (std::exception const& fault) {
            result = Failure(__LINE__, std::string("Can't get a browser's cookies: ") + fault.what());
        } catch (...) {
            result = Failure(__LINE__, "Can't get a browser's cookies.");
        }
        ReportTo(answer, result, path);
    };
    return StartWorker("AskRunningBrowser", std::move(work), [&] { stopAsking_ = stop; });
}

void HVDownloadCookies::EndAsking() {
    std::shared_ptr<HVLatch> stop;
    {
        std::lock_guard const lock(mutex_);
        stop = stopAsking_;
    }
    if (stop != nullptr)
        stop->Raise();
}

std::shared_ptr<IHVError const> IHVDownloadCookies::AskRunningBrowser(HVBrowserQuestion const& question,
                                                                      AnswerFunc answer) {
    if (auto* const own = dynamic_cast<HVDownloadCookies*>(this))
        return own->StartAsking(question, std::move(answer));
    return Failure(__LINE__, "This record can't ask a browser.");
}

void IHVDownloadCookies::StopAsking() {
    if (auto* const own = dynamic_cast<HVDownloadCookies*>(this))
        own->EndAsking();
}

} // namespace Halvorn
