#include "HVTableText.h"

#include <Reelhaul/HVDisplayText.h>

#include <algorithm>
#include <utility>

namespace Halvorn {

HVTableText::HVTableText(std::vector<Column> columns) : columns_(std::move(columns)) {}

void HVTableText::AddRow(std::vector<std::string> cells) {
    cells.resize(columns_.size());
    for (std::string& cell : cells)
        cell = PlainLine(cell);
    rows_.push_back(std::move(cells));
}

std::vector<std::string> HVTableText::Lines() const {
    std::vector<std::size_t> widths(columns_.size());
    for (auto const& row : rows_)
        for (std::size_t i = 0; i < widths.size(); ++i)
            widths[i] = std::max(widths[i], DisplayWidth(row[i]));
    std::vector<std::string> titles;
    for (std::size_t i = 0; i < widths.size(); ++i) {
        if (widths[i] > 0)
            widths[i] = std::max(widths[i], DisplayWidth(columns_[i].title));
        titles.push_back(columns_[i].title);
    }
    std::vector<std::string> lines{Line(titles, widths)};
    for (auto const& row : rows_)
        lines.push_back(Line(row, widths));
    return lines;
}

std::string HVTableText::Line(std::vector<std::string> const& cells,
                              std::vector<std::size_t> const& widths) const {
    std::string line;
    for (std::size_t i = 0; i < widths.size(); ++i) {
        if (widths[i] == 0)
            continue;
        std::string const filling(widths[i] - DisplayWidth(cells[i]), ' ');
        line += "  ";
        line += columns_[i].right ? filling + cells[i] : cells[i] + filling;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

} // namespace Halvorn
