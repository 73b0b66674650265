#pragma once
// A node of a document that the JSON library holds; it keeps the document alive.

#include "IHVJsonValue.h"

#include <rapidjson/document.h>

namespace Halvorn {

class HVJsonValue final : public IHVJsonValue {
public:
    HVJsonValue(std::shared_ptr<rapidjson::Document const> document, rapidjson::Value const* value);

    std::string GetValueString(std::string const& key) const override;
    int GetValueInt(std::string const& key) const override;
    std::uint64_t GetValueUInt64(std::string const& key) const override;
    float GetValueFloat(std::string const& key) const override;
    bool GetValueBool(std::string const& key) const override;
    int GetArrayCount(std::string const& key) const override;
    std::shared_ptr<IHVJsonValue const> operator[](char const* key) const override;
    std::shared_ptr<IHVJsonValue const> GetArrayItem(std::string const& key, int index) const override;
    std::vector<std::string> GetMemberNames() const override;
    /// See IHVJsonReader::JsonText.
    std::string ToText() const;
    /// See IHVJsonReader::JsonTextWith.
    std::string ToTextWithout(std::vector<std::string> const& names) const;
    std::string ToTextWith(std::string const& key, std::string const& value) const;

private:
    rapidjson::Value const* Find(char const* key, std::size_t length) const;
    rapidjson::Value const* FindNumber(std::string const& key) const;
    rapidjson::Value const* FindArray(std::string const& key) const;

    std::shared_ptr<rapidjson::Document const> document_;
    rapidjson::Value const* value_;
};

} // namespace Halvorn
