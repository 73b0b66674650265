#include "IHVData.h"

#include <utility>

namespace Halvorn {

namespace {

class HVData final : public IHVData {
public:
    explicit HVData(std::string bytes) : bytes_(std::move(bytes)) {}
    std::string const& ToText() const override { return bytes_; }

private:
    std::string bytes_;
};

} // namespace

std::shared_ptr<IHVData const> IHVData::MallocData(std::string bytes) {
    return std::make_shared<HVData>(std::move(bytes));
}

} // namespace Halvorn
