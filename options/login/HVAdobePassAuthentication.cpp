#include "HVAdobePassAuthentication.h"

#include "HVProviderTable.h"

#include <utility>

namespace Halvorn {

namespace {

/// What `wanted` holds in the first row whose `key` is `text`; empty when there is no such row.
std::string Lookup(std::string const& text, char const* HVProvider::*key, char const* HVProvider::*wanted) {
    for (HVProvider const* row = HVProviderTable; row->id; ++row) {
        if (text == row->*key)
            return row->*wanted;
    }
    return {};
}

bool InTable(int index) {
    return index >= 0 && index < HVProviderCount;
}

} // namespace

HVAdobePassAuthentication::HVAdobePassAuthentication(std::string multipleSystemOperator, std::string userName,
                                                     std::string userPWD)
    : multipleSystemOperator_(std::move(multipleSystemOperator)), userName_(std::move(userName)),
      userPWD_(std::move(userPWD)) {}

HVAdobePassAuthentication::HVAdobePassAuthentication(IHVAdobePassAuthentication const* source) {
    if (!source)
        return;
    multipleSystemOperator_ = source->GetMultipleSystemOperator();
    userName_ = source->GetUserName();
    userPWD_ = source->GetUserPWD();
}

std::shared_ptr<IHVAdobePassAuthentication> HVAdobePassAuthentication::Clone() const {
    return std::make_shared<HVAdobePassAuthentication>(this);
}

std::shared_ptr<IHVAdobePassAuthentication> IHVAdobePassAuthentication::MallocAdobePassAuthentication() {
    return std::make_shared<HVAdobePassAuthentication>(nullptr);
}

std::shared_ptr<IHVAdobePassAuthentication> IHVAdobePassAuthentication::MallocAdobePassAuthentication(
    std::string const& multipleSystemOperator, std::string const& userName, std::string const& userPWD) {
    return std::make_shared<HVAdobePassAuthentication>(multipleSystemOperator, userName, userPWD);
}

int IHVAdobePassAuthentication::GetSupportedMSOCount() {
    return HVProviderCount;
}

std::string IHVAdobePassAuthentication::GetSupprotedMSOID(int index) {
    return InTable(index) ? HVProviderTable[index].id : std::string();
}

std::string IHVAdobePassAuthentication::GetSupportedMSOName(int index) {
    return InTable(index) ? HVProviderTable[index].name : std::string();
}

std::string IHVAdobePassAuthentication::GetSupportedMSOName(std::string const& id) {
    return Lookup(id, &HVProvider::id, &HVProvider::name);
}

std::string IHVAdobePassAuthentication::GetSupportedMSOID(std::string const& name) {
    return Lookup(name, &HVProvider::name, &HVProvider::id);
}

std::string IHVAdobePassAuthentication::GetMultipleSystemOperatorName() const {
    return GetSupportedMSOName(GetMultipleSystemOperator());
}

} // namespace Halvorn
