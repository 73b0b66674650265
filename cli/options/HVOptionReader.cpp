#include "HVOptionReader.h"

#include "HVChoice.h"
#include "HVFileAccess.h"
#include "HVOptionRecords.h"
#include "HVOptionTable.h"
#include "HVProxyText.h"
#include "HVTerminal.h"

#include <Reelhaul/IHVBrowserState.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace Halvorn {

namespace {

/// Systems limit one argument of a program to little more than this.
constexpr std::size_t kLongestValue = 100000;
constexpr std::size_t kLongestShown = 60;

std::string Quoted(std::string_view text) {
    std::string const shown(text.substr(0, kLongestShown));
    return "\"" + shown + (text.size() > kLongestShown ? "...\"" : "\"");
}

/// The number with its unit; -1 when it is none, or too large for an int.
int ReadNumber(std::string_view text, bool units) {
    std::int64_t factor = 1;
    if (units && !text.empty()) {
        constexpr std::array kUnits{std::pair{'K', 1LL << 10}, std::pair{'M', 1LL << 20},
                                    std::pair{'G', 1LL << 30}};
        for (auto const& [letter, size] : kUnits)
            if (std::toupper(static_cast<unsigned char>(text.back())) == letter)
                factor = size;
        if (factor > 1)
            text.remove_suffix(1);
    }
    auto const number = WholeNumber(text);
    if (!number || *number * factor > std::numeric_limits<int>::max())
        return -1;
    return static_cast<int>(*number * factor);
}

/// The secret itself where it was given, else what a terminal or standard input says.
std::string ReadSecretValue(HVOptionRow const& row, std::string& value) {
    if (value != "-")
        return {};
    auto line = ReadSecret(std::string(row.name).substr(2) + ": ");
    if (!line || line->empty())
        return "nothing was given on standard input";
    value = *std::move(line);
    return {};
}

std::string ReadNumberValue(HVOptionRow const& row, HVOptionValue& value) {
    value.number = ReadNumber(value.text, row.kind == HVOptionKind::Rate);
    if (value.number >= row.lowest && value.number <= row.highest)
        return {};
    std::string const units = row.kind == HVOptionKind::Rate ? ", perhaps with K, M or G behind it" : "";
    return "must be a whole number from " + std::to_string(row.lowest) + " to " +
           std::to_string(row.highest) + units + ", not " + Quoted(value.text);
}

/// Fills the member of `value` that counts from its text. Returns the fault.
std::string ReadValue(HVOptionRow const& row, HVOptionValue& value) {
    if (row.kind == HVOptionKind::Flag)
        return {};
    if (value.text.empty())
        return "the value is empty";
    if (value.text.size() > kLongestValue)
        return "the value is too long";
    if (row.kind == HVOptionKind::Secret)
        return ReadSecretValue(row, value.text);
    if (row.kind == HVOptionKind::Number || row.kind == HVOptionKind::Rate)
        return ReadNumberValue(row, value);
    if (value.text.starts_with('-'))
        return "the value " + Quoted(value.text) + " begins with \"-\" like an option";
    std::string fault;
    if (row.kind == HVOptionKind::Path)
        return PathFault({}, value.text);
    if (row.kind == HVOptionKind::Proxy)
        value.proxy = ReadProxy(value.text, fault);
    if (row.kind == HVOptionKind::Browser)
        return ReadBrowserStore(value.text, value.browser, value.store);
    return fault;
}

std::string TogetherFault(HVGivenOptions const& given, char const* one, char const* other) {
    return given.contains(one) && given.contains(other)
               ? std::string(one) + " and " + other + " can't be given together"
               : std::string();
}

/// What is wrong with the options as a set.
std::string CombinationFault(HVGivenOptions const& given) {
    std::string_view method;
    std::string_view methodOption;
    for (HVOptionRow const& row : OptionTable()) {
        if (!given.contains(row.name))
            continue;
        if (*row.needs != '\0' && !given.contains(row.needs))
            return std::string(row.name) + " counts only together with " + row.needs;
        if (*row.method == '\0')
            continue;
        if (!method.empty() && method != row.method)
            return std::string(methodOption) + " and " + row.name +
                   " are different ways to log in; only one can be used";
        method = row.method;
        methodOption = row.name;
    }
    for (auto const& [one, other] :
         {std::pair{"--force-ipv4", "--force-ipv6"}, std::pair{"--cookies", "--cookies-from-browser"}})
        if (std::string fault = TogetherFault(given, one, other); !fault.empty())
            return fault;
    return {};
}

/// The tool would ask for a missing password on the terminal, which a child process does not have.
std::string AskForPasswords(HVGivenOptions& given) {
    for (auto const& [account, password] :
         {std::pair{"--username", "--password"}, std::pair{"--ap-username", "--ap-password"}}) {
        if (!given.contains(account) || given.contains(password))
            continue;
        if (!IsTerminal(HVStream::Input))
            return std::string(account) + " needs " + password + "; \"" + password +
                   " -\" reads it from standard input";
        given[password] = "-";
    }
    return {};
}

std::string RateFault(HVGivenOptions const& given) {
    auto const limit = given.find("--limit-rate");
    auto const throttled = given.find("--throttled-rate");
    bool const bad = limit != given.end() && throttled != given.end() &&
                     ReadNumber(limit->second, true) <= ReadNumber(throttled->second, true);
    return bad ? "--limit-rate must be above --throttled-rate" : std::string();
}

} // namespace

int ReadRate(std::string_view text) {
    return ReadNumber(text, true);
}

std::string ReadOptions(HVGivenOptions given, std::shared_ptr<IHVDownloadOptions>& bundle) {
    if (std::string fault = CombinationFault(given); !fault.empty())
        return fault;
    if (std::string fault = AskForPasswords(given); !fault.empty())
        return fault;
    HVOptionRecords records;
    // Secrets last, so that a wrong command line is told before a password is typed.
    for (bool const secrets : {false, true}) {
        for (HVOptionRow const& row : OptionTable()) {
            auto const found = given.find(row.name);
            if (found == given.end() || (row.kind == HVOptionKind::Secret) != secrets)
                continue;
            HVOptionValue value;
            value.text = found->second;
            if (std::string const fault = ReadValue(row, value); !fault.empty())
                return std::string(row.name) + ": " + fault;
            row.apply(records, value);
            if (!records.Fault().empty())
                return std::string(row.name) + ": " + records.Fault();
        }
        if (std::string fault = RateFault(given); !fault.empty())
            return fault;
    }
    bundle = records.Bundle();
    return {};
}

std::string ReadBrowser(std::string_view name, HVDownloadBrowser& browser) {
    std::string known;
    constexpr int kNumbersTried = 32;
    std::string const none = IHVBrowserState::BrowserParamName(HVDownloadBrowserUnknown);
    for (int i = 0; i < kNumbersTried; ++i) {
        auto const candidate = static_cast<HVDownloadBrowser>(i);
        std::string const word = IHVBrowserState::BrowserParamName(candidate);
        if (word == none)
            continue;
        if (word == name) {
            browser = candidate;
            return {};
        }
        known.append(known.empty() ? "" : ", ").append(word);
    }
    return "there is no browser " + Quoted(name) + "; there are " + known;
}

std::string ReadBrowserStore(std::string const& given, HVDownloadBrowser& browser,
                             IHVDownloadCookies::BrowserStore& store) {
    std::string front = given;
    // Takes what follows the mark off the text.
    auto const behind = [&front](std::string_view mark) {
        auto const place = front.find(mark);
        std::string part = place == std::string::npos ? "" : front.substr(place + mark.size());
        front.resize(std::min(place, front.size()));
        return part;
    };
    store.container = behind("::");
    store.profile = behind(":");
    store.keyring = behind("+");
    return ReadBrowser(front, browser);
}

std::string PathFault(std::string const& name, std::string const& path) {
    std::string const front = (name.empty() ? std::string() : name + ": ") + "\"" + path + "\" ";
    std::error_code fault;
    bool const exists = std::filesystem::exists(path, fault);
    if (path.empty() || (!exists && !fault))
        return front + "does not exist";
    if (fault)
        return front + "can't be reached: " + fault.message();
    if (!CanRead(path))
        return front + "can't be read";
    return {};
}

} // namespace Halvorn
