#include "HVHostMessage.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <set>

namespace Halvorn {

namespace {

/// Iterative: no depth of nesting exhausts the stack.
constexpr unsigned kParseFlags = rapidjson::kParseIterativeFlag;

using Value = rapidjson::Value;

Value const* Member(Value const& object, char const* name) {
    auto const found = object.FindMember(name);
    return found == object.MemberEnd() ? nullptr : &found->value;
}

std::string StringOf(Value const& object, char const* name) {
    auto const* const value = Member(object, name);
    return value != nullptr && value->IsString() ? std::string(value->GetString(), value->GetStringLength())
                                                 : std::string();
}

bool BoolOf(Value const& object, char const* name) {
    auto const* const value = Member(object, name);
    return value != nullptr && value->IsBool() && value->GetBool();
}

int IntOf(Value const& object, char const* name) {
    auto const* const value = Member(object, name);
    return value != nullptr && value->IsInt() ? value->GetInt() : 0;
}

/// A message is an object; anything else has no members to read.
bool Parse(std::string const& text, rapidjson::Document& document) {
    document.Parse<kParseFlags>(text.data(), text.size());
    return !document.HasParseError() && document.IsObject();
}

bool Printable(std::string const& text) {
    return std::none_of(text.begin(), text.end(), [](char c) {
        auto const byte = static_cast<unsigned char>(c);
        return byte < ' ' || byte == 0x7F;
    });
}

/// Whether the cookie goes out when its own site is visited: a partitioned one may belong to the frames that
/// the site has in another site's pages.
bool OfItsOwnSite(std::string const& domain, std::string const& partition) {
    auto const begin = partition.find("://");
    if (begin == std::string::npos)
        return true;
    std::string site = partition.substr(begin + 3);
    site.resize(std::min(site.find_first_of(":/"), site.size()));
    return domain == site || domain.ends_with("." + site);
}

/// One line of the file; empty for a cookie that can't stand there.
std::string LineOf(Value const& cookie, std::string& key) {
    std::string domain = StringOf(cookie, "domain");
    std::string const path = StringOf(cookie, "path");
    std::string const name = StringOf(cookie, "name");
    std::string const value = StringOf(cookie, "value");
    if (domain.starts_with('.'))
        domain.erase(0, 1);
    if (domain.empty() || !path.starts_with('/') || !Printable(domain + path + name + value) ||
        !OfItsOwnSite(domain, StringOf(cookie, "partition")))
        return {};
    bool const host = BoolOf(cookie, "hostOnly");
    if (!host)
        domain.insert(0, ".");
    key = domain + '\t' + path + '\t' + name;
    auto const* const expires = Member(cookie, "expires");
    bool const lasts = !BoolOf(cookie, "session") && expires != nullptr && expires->IsUint64();
    return (BoolOf(cookie, "httpOnly") ? "#HttpOnly_" : "") + domain + (host ? "\tFALSE\t" : "\tTRUE\t") +
           path + (BoolOf(cookie, "secure") ? "\tTRUE\t" : "\tFALSE\t") +
           std::to_string(lasts ? expires->GetUint64() : 0) + '\t' + name + '\t' + value + '\n';
}

} // namespace

bool HVHostMessage::Read(std::string const& message) {
    rapidjson::Document document;
    if (!Parse(message, document))
        return false;
    type = StringOf(document, "type");
    id = IntOf(document, "id");
    browser = StringOf(document, "browser");
    profile = StringOf(document, "profile");
    on = BoolOf(document, "on");
    permission = BoolOf(document, "permission");
    reason = StringOf(document, "reason");
    text = StringOf(document, "text");
    addresses.clear();
    if (auto const* const list = Member(document, "addresses"); list != nullptr && list->IsArray())
        for (auto const& address : list->GetArray())
            addresses.emplace_back(address.IsString() ? address.GetString() : "");
    return !type.empty();
}

std::string HVHostMessage::Text() const {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    auto const put = [&writer](char const* name, std::string const& value) {
        writer.Key(name);
        writer.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
    };
    writer.StartObject();
    put("type", type);
    writer.Key("id");
    writer.Int(id);
    if (type == "hello") {
        put("browser", browser);
        put("profile", profile);
        writer.Key("on");
        writer.Bool(on);
        writer.Key("permission");
        writer.Bool(permission);
    } else if (type == "ask") {
        writer.Key("addresses");
        writer.StartArray();
        for (auto const& address : addresses)
            writer.String(address.data(), static_cast<rapidjson::SizeType>(address.size()));
        writer.EndArray();
        put("application", application);
        put("program", program);
        writer.Key("pid");
        writer.Int(pid);
    }
    writer.EndObject();
    return {buffer.GetString(), buffer.GetSize()};
}

std::string CookiesFileOf(std::string const& message) {
    rapidjson::Document document;
    if (!Parse(message, document))
        return {};
    auto const* const cookies = Member(document, "cookies");
    if (cookies == nullptr || !cookies->IsArray())
        return {};
    // The tool sends one cookie of a name. Those of the browser's own store come first, and go before those
    // of a container or a private window.
    std::string file = "# Netscape HTTP Cookie File\n";
    std::set<std::string> seen;
    for (auto const& cookie : cookies->GetArray()) {
        std::string key;
        std::string const line = cookie.IsObject() ? LineOf(cookie, key) : std::string();
        if (!line.empty() && seen.insert(key).second)
            file += line;
    }
    return file;
}

} // namespace Halvorn
