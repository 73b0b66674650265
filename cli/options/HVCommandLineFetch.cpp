// What is to be fetched: the addresses, from the command line and from lists, and which items of playlists.

#include "HVAddressList.h"
#include "HVChoice.h"
#include "HVCommandLine.h"
#include "HVOptionChecks.h"
#include "HVOptionReader.h"

#include <CLI/App.hpp>

#include <algorithm>

namespace Halvorn {

namespace {

std::string ListLike(std::string const& value) {
    return value == kStandardInput ? std::string() : PathLike(value);
}

} // namespace

void HVCommandLine::AddAddresses(CLI::App& app) {
    app.add_option("URL", urls_, "The addresses; - reads them from standard input")->type_name("");
    addressTakers_.push_back(&app);
    app.add_option("-a,--batch-file", lists_,
                   "File with one address a line, - for standard input; may be given again")
        ->type_name("FILE")
        ->allow_extra_args(false)
        ->check(ListLike, "");
}

void HVCommandLine::AddItems(CLI::App& app) {
    app.add_option("--items", request_.items,
                   "Items of a playlist, such as 1,3-5 or 7- or -10: for the last ten")
        ->type_name("LIST")
        ->check(NotEmpty, "");
    app.add_option("--newest", newest_, "Only the so many newest items of a playlist")
        ->type_name("N")
        ->check(NotEmpty, "");
}

void HVCommandLine::AddPause(CLI::App& app) {
    app.add_option("--sleep-between", sleepBetween_, "Wait so long between the starts of two downloads")
        ->type_name("SECONDS")
        ->check(NotEmpty, "");
    app.add_option("--limit-rate-total", totalRate_,
                   "At most so many bytes a second over all downloads together, such as 2M")
        ->type_name("RATE")
        ->check(NotEmpty, "");
}

std::string HVCommandLine::TakeItems() {
    constexpr int kLongestSleep = 86400;
    auto const sleep = WholeNumber(sleepBetween_);
    if (!sleepBetween_.empty() && (!sleep || *sleep > kLongestSleep))
        return "--sleep-between must be a number of seconds from 0 to 86400, not \"" + sleepBetween_ + "\"";
    request_.sleepBetween = sleep.value_or(0);
    if (!totalRate_.empty() && (request_.totalRate = ReadRate(totalRate_)) <= 0)
        return "--limit-rate-total must be a number of bytes a second above 0, perhaps with K, M or G behind "
               "it, not \"" +
               totalRate_ + "\"";
    if (!HVItemRanges::Parse(request_.items))
        return "--items must be a list such as 1,3-5 or 7- or -10:, not \"" + request_.items + "\"";
    auto const newest = WholeNumber(newest_);
    if (!newest_.empty() && (!newest || *newest == 0))
        return "--newest must be a number from 1, not \"" + newest_ + "\"";
    request_.newest = newest.value_or(0);
    return {};
}

std::string HVCommandLine::TakeAddresses() {
    bool const needed = std::any_of(addressTakers_.begin(), addressTakers_.end(),
                                    [](CLI::App const* command) { return command->parsed(); });
    if (needed && urls_.empty() && lists_.empty())
        return "URL is required, or a list of them (-a FILE)";
    for (std::string const& url : urls_)
        if (url.empty())
            return "an address is empty";
    bool const secretFromInput =
        std::any_of(given_.begin(), given_.end(), [](auto const& given) { return given.second == "-"; });
    auto const fromInput = [](std::vector<std::string> const& names) {
        return std::find(names.begin(), names.end(), kStandardInput) != names.end();
    };
    if (secretFromInput && (fromInput(urls_) || fromInput(lists_)))
        return "standard input can't hold both the addresses and a password";
    return CollectAddresses(urls_, lists_, request_.addresses);
}

} // namespace Halvorn
