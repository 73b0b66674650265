#pragma once
// A table for people: a head line and rows, aligned in columns of a terminal.

#include <string>
#include <vector>

namespace Halvorn {

class HVTableText {
public:
    struct Column {
        std::string title;
        bool right = false; ///< numbers stand at the right edge
    };

    explicit HVTableText(std::vector<Column> columns);

    /// One cell for each column. Cells are made harmless here (PlainLine).
    void AddRow(std::vector<std::string> cells);
    /// The lines, head line first, each without blanks at its end. A column that is empty in all rows is left
    /// out.
    std::vector<std::string> Lines() const;

private:
    std::string Line(std::vector<std::string> const& cells, std::vector<std::size_t> const& widths) const;

    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;
};

} // namespace Halvorn
