#include "HVAddressList.h"

#include <Reelhaul/HVDisplayText.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string_view>
#include <system_error>
#include <utility>

namespace Halvorn {

namespace {

/// Bytes. Far above any address; what is longer is some other file.
constexpr std::size_t kLongestLine = 65'536;
constexpr std::size_t kLargestList = std::size_t{64} << 20;
constexpr std::string_view kBlanks = " \t\v\f";

std::string NameOf(std::string const& file) {
    return file == kStandardInput ? "standard input" : file;
}

/// Without the blanks around it, and without a comment behind a blank.
std::string_view WithoutComment(std::string_view line) {
    auto const begin = line.find_first_not_of(kBlanks);
    line.remove_prefix(std::min(begin, line.size()));
    if (line.starts_with('#') || line.starts_with(';') || line.starts_with(']'))
        return {};
    // An address may hold a "#" of its own.
    for (auto mark = line.find('#'); mark != std::string_view::npos; mark = line.find('#', mark + 1))
        if (kBlanks.find(line[mark - 1]) != std::string_view::npos)
            line = line.substr(0, mark);
    return line.substr(0, line.find_last_not_of(kBlanks) + 1);
}

/// The lines of one list, fed byte by byte.
class ListReader {
public:
    ListReader(std::string name, std::vector<HVListedAddress>& addresses)
        : name_(std::move(name)), addresses_(addresses) {}

    /// False once there is a fault.
    bool Feed(std::string_view bytes) {
        read_ += bytes.size();
        if (read_ > kLargestList)
            return Refuse("the list is larger than 64 MiB");
        return std::all_of(bytes.begin(), bytes.end(), [this](char c) { return Feed(c); });
    }
    void End() {
        if (fault_.empty())
            EndLine();
    }
    std::string const& Fault() const { return fault_; }

private:
    bool Feed(char c) {
        bool const behindReturn = std::exchange(afterReturn_, c == '\r');
        if (c == '\n' && behindReturn)
            return true;
        if (c == '\n' || c == '\r')
            return EndLine();
        auto const code = static_cast<unsigned char>(c);
        constexpr unsigned char kFirstPrintable = 0x20;
        constexpr unsigned char kDelete = 0x7f;
        bool const control =
            (code < kFirstPrintable && kBlanks.find(c) == std::string_view::npos) || code == kDelete;
        if (control)
            return Refuse("this is no text with one address a line");
        line_ += c;
        return line_.size() <= kLongestLine || Refuse("the line is too long for an address");
    }
    bool EndLine() {
        constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
        std::string_view line = line_;
        if (line.starts_with(kByteOrderMark))
            line.remove_prefix(kByteOrderMark.size());
        std::string url(WithoutComment(line));
        if (ValidText(url) != url)
            return Refuse("the line is no UTF-8 text");
        if (!url.empty())
            addresses_.push_back({std::move(url), Place()});
        line_.clear();
        ++number_;
        return true;
    }
    bool Refuse(char const* reason) {
        fault_ = Place() + ": " + reason;
        return false;
    }
    std::string Place() const { return name_ + ":" + std::to_string(number_); }

    std::string name_;
    std::vector<HVListedAddress>& addresses_;
    std::string line_;
    std::string fault_;
    std::size_t read_ = 0;
    std::size_t number_ = 1;
    bool afterReturn_ = false;
};

/// Returns the fault.
std::string ReadStream(std::istream& stream, std::string const& name,
                       std::vector<HVListedAddress>& addresses) {
    ListReader reader(name, addresses);
    constexpr std::size_t kChunk = 65'536;
    std::array<char, kChunk> chunk{};
    do {
        stream.read(chunk.data(), chunk.size());
        if (!reader.Feed({chunk.data(), static_cast<std::size_t>(stream.gcount())}))
            return reader.Fault();
    } while (stream);
    if (stream.bad())
        return name + ": the list can't be read";
    reader.End();
    return reader.Fault();
}

} // namespace

std::string ReadAddressList(std::string const& file, std::vector<HVListedAddress>& addresses) {
    auto const before = addresses.size();
    std::string const name = NameOf(file);
    std::string fault;
    if (file == kStandardInput) {
        fault = ReadStream(std::cin, name, addresses);
    } else {
        std::error_code unknown;
        std::ifstream stream(file, std::ios::binary);
        if (!stream || std::filesystem::is_directory(file, unknown))
            return name + ": the list can't be read";
        fault = ReadStream(stream, name, addresses);
    }
    return fault.empty() && addresses.size() == before ? name + ": there is no address in the list" : fault;
}

std::string CollectAddresses(std::vector<std::string> const& urls, std::vector<std::string> const& lists,
                             std::vector<HVListedAddress>& addresses) {
    auto const readsInput = [](std::string const& name) { return name == kStandardInput; };
    if (std::count_if(urls.begin(), urls.end(), readsInput) +
            std::count_if(lists.begin(), lists.end(), readsInput) >
        1)
        return "standard input can be read only once";
    for (std::string const& url : urls) {
        if (!readsInput(url))
            addresses.push_back({url, {}});
        else if (std::string fault = ReadAddressList(url, addresses); !fault.empty())
            return fault;
    }
    for (std::string const& list : lists)
        if (std::string fault = ReadAddressList(list, addresses); !fault.empty())
            return fault;
    return {};
}

} // namespace Halvorn
