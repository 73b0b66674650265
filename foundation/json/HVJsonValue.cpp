#include "HVJsonValue.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

namespace Halvorn {

HVJsonValue::HVJsonValue(std::shared_ptr<rapidjson::Document const> document, rapidjson::Value const* value)
    : document_(std::move(document)), value_(value) {}

rapidjson::Value const* HVJsonValue::Find(char const* key, std::size_t length) const {
    if (!value_->IsObject() || length > std::numeric_limits<rapidjson::SizeType>::max())
        return nullptr;
    rapidjson::Value const name(rapidjson::StringRef(key, static_cast<rapidjson::SizeType>(length)));
    auto const found = value_->FindMember(name);
    return found == value_->MemberEnd() ? nullptr : &found->value;
}

rapidjson::Value const* HVJsonValue::FindNumber(std::string const& key) const {
    rapidjson::Value const* const value = Find(key.data(), key.size());
    return value != nullptr && value->IsNumber() ? value : nullptr;
}

rapidjson::Value const* HVJsonValue::FindArray(std::string const& key) const {
    rapidjson::Value const* const value = Find(key.data(), key.size());
    return value != nullptr && value->IsArray() ? value : nullptr;
}

std::string HVJsonValue::GetValueString(std::string const& key) const {
    rapidjson::Value const* const value = Find(key.data(), key.size());
    if (value == nullptr || !value->IsString())
        return {};
    return {value->GetString(), value->GetStringLength()};
}

int HVJsonValue::GetValueInt(std::string const& key) const {
    rapidjson::Value const* const value = FindNumber(key);
    if (value == nullptr)
        return 0;
    if (value->IsInt())
        return value->GetInt();
    // NaN fails both comparisons.
    double const whole = std::trunc(value->GetDouble());
    bool const fits = whole >= std::numeric_limits<int>::min() && whole <= std::numeric_limits<int>::max();
    return fits ? static_cast<int>(whole) : 0;
}

std::uint64_t HVJsonValue::GetValueUInt64(std::string const& key) const {
    rapidjson::Value const* const value = FindNumber(key);
    if (value == nullptr)
        return 0;
    if (value->IsUint64())
        return value->GetUint64();
    double const number = value->GetDouble();
    return number >= 1.0 && number < std::ldexp(1.0, 64) ? static_cast<std::uint64_t>(number) : 0;
}

float HVJsonValue::GetValueFloat(std::string const& key) const {
    rapidjson::Value const* const value = FindNumber(key);
    if (value == nullptr)
        return 0.0F;
    double const number = value->GetDouble();
    bool const fits = std::abs(number) <= static_cast<double>(std::numeric_limits<float>::max());
    return fits ? static_cast<float>(number) : 0.0F;
}

bool HVJsonValue::GetValueBool(std::string const& key) const {
    rapidjson::Value const* const value = Find(key.data(), key.size());
    return value != nullptr && value->IsTrue();
}

int HVJsonValue::GetArrayCount(std::string const& key) const {
    rapidjson::Value const* const array = FindArray(key);
    if (array == nullptr || array->Size() > static_cast<unsigned>(std::numeric_limits<int>::max()))
        return 0;
    return static_cast<int>(array->Size());
}

std::shared_ptr<IHVJsonValue const> HVJsonValue::operator[](char const* key) const {
    rapidjson::Value const* const value = key == nullptr ? nullptr : Find(key, std::strlen(key));
    if (value == nullptr || value->IsNull())
        return nullptr;
    return std::make_shared<HVJsonValue>(document_, value);
}

std::shared_ptr<IHVJsonValue const> HVJsonValue::GetArrayItem(std::string const& key, int index) const {
    rapidjson::Value const* const array = FindArray(key);
    if (array == nullptr || index < 0 || static_cast<unsigned>(index) >= array->Size())
        return nullptr;
    return std::make_shared<HVJsonValue>(document_, &(*array)[static_cast<rapidjson::SizeType>(index)]);
}

namespace {

using Buffer = rapidjson::StringBuffer;
using Writer = rapidjson::Writer<Buffer, rapidjson::UTF8<>, rapidjson::ASCII<>, rapidjson::CrtAllocator,
                                 rapidjson::kWriteNanAndInfFlag>;

} // namespace

std::string HVJsonValue::ToText() const {
    Buffer buffer;
    Writer writer(buffer);
    value_->Accept(writer);
    return {buffer.GetString(), buffer.GetSize()};
}

std::string HVJsonValue::ToTextWith(std::string const& key, std::string const& value) const {
    if (!value_->IsObject())
        return {};
    Buffer buffer;
    Writer writer(buffer);
    writer.StartObject();
    for (auto member = value_->MemberBegin(); member != value_->MemberEnd(); ++member) {
        if (key.compare(0, std::string::npos, member->name.GetString(), member->name.GetStringLength()) == 0)
            continue;
        member->name.Accept(writer);
        member->value.Accept(writer);
    }
    writer.Key(key.c_str(), static_cast<rapidjson::SizeType>(key.size()));
    writer.String(value.c_str(), static_cast<rapidjson::SizeType>(value.size()));
    writer.EndObject();
    return {buffer.GetString(), buffer.GetSize()};
}

std::string IHVJsonReader::JsonTextWith(std::shared_ptr<IHVJsonValue const> const& node,
                                        std::string const& key, std::string const& value) {
    auto const* const own = dynamic_cast<HVJsonValue const*>(node.get());
    return own == nullptr ? std::string() : own->ToTextWith(key, value);
}

std::string IHVJsonReader::JsonText(std::shared_ptr<IHVJsonValue const> const& node) {
    auto const* const value = dynamic_cast<HVJsonValue const*>(node.get());
    return value == nullptr ? std::string() : value->ToText();
}

std::vector<std::string> HVJsonValue::GetMemberNames() const {
    std::vector<std::string> names;
    if (!value_->IsObject())
        return names;
    names.reserve(value_->MemberCount());
    for (auto member = value_->MemberBegin(); member != value_->MemberEnd(); ++member)
        names.emplace_back(member->name.GetString(), member->name.GetStringLength());
    return names;
}

} // namespace Halvorn
