#pragma once
// What the lists of the model have in common: no empty pointers inside, and none but empty ones out of range.

#include <memory>
#include <utility>
#include <vector>

namespace Halvorn {

template <typename T>
void AppendElement(std::vector<std::shared_ptr<T>>& list, std::shared_ptr<T> element) {
    if (element != nullptr)
        list.push_back(std::move(element));
}

template <typename T>
void AppendElements(std::vector<std::shared_ptr<T>>& list, std::vector<std::shared_ptr<T>> const& elements) {
    for (std::shared_ptr<T> const& element : elements)
        AppendElement(list, element);
}

template <typename T>
std::shared_ptr<T> ElementAt(std::vector<std::shared_ptr<T>> const& list, int index) {
    return index >= 0 && static_cast<std::size_t>(index) < list.size() ? list[static_cast<std::size_t>(index)]
                                                                       : nullptr;
}

} // namespace Halvorn
