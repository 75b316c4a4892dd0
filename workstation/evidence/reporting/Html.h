// Pieces of an HTML page.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "evidence/XmlText.h"

namespace workstation::evidence::reporting {

// Well-formed markup, in which every text that is not ours is escaped.
using Markup = std::string;

// "98,566,144".
std::string Grouped(std::uint64_t number);

// A link to a place of the page: its id, and what is shown.
Markup Link(std::string const& id, std::string const& text);

// A list of links in one cell; a dash without any.
Markup Joined(std::vector<Markup> const& links);

struct Cell {
    Markup content;
    enum class Kind : std::uint8_t {
        text,
        number, // to the right
        name,   // may be broken anywhere
    } kind = Kind::text;
};

Cell TextCell(std::string const& text);
Cell TimeCell(std::optional<std::int64_t> time); // a dash where there is none
Cell NameCell(Markup const& name);
Cell CountCell(std::uint64_t count); // in groups of three digits

// As it is written in a command line; a dash where there is none.
template <typename Number>
Cell NumberCell(std::optional<Number> const& number) {
    return {number ? std::to_string(*number) : "&ndash;", Cell::Kind::number};
}

// A table of its own width that scrolls on a narrow screen. The first cell of each row names it.
class Table {
public:
    struct Column {
        std::string name;
        bool isNumber = false;
    };

    Table(std::string const& caption, std::vector<Column> const& columns);

    // `id`: that of the row, to be linked to; empty for none.
    void Add(std::string const& id, std::vector<Cell> const& cells);

    bool IsEmpty() const { return rows_ == 0; }

    // A sentence in its place when it is empty.
    Markup Html(std::string const& whenEmpty) const;

private:
    std::string caption_;
    Markup html_;
    std::size_t rows_ = 0;
};

// Names and what they stand for.
class Definitions {
public:
    void Add(std::string const& name, Markup const& content) {
        html_ += "<div><dt>" + XmlText(name) + "</dt><dd>" + content + "</dd></div>\n";
    }
    Markup Html() const { return "<dl>\n" + html_ + "</dl>\n"; }

private:
    Markup html_;
};

} // namespace workstation::evidence::reporting
