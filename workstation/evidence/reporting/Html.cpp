// Pieces of an HTML page.
#include "evidence/reporting/Html.h"

#include "LocalTime.h"

namespace workstation::evidence::reporting {

std::string Grouped(std::uint64_t number) {
    std::string text = std::to_string(number);
    for (std::size_t digits = 3; digits < text.size(); digits += 4) {
        text.insert(text.size() - digits, ",");
    }
    return text;
}

Markup Link(std::string const& id, std::string const& text) {
    return "<a href=\"#" + id + "\">" + XmlText(text) + "</a>";
}

Markup Joined(std::vector<Markup> const& links) {
    Markup joined;
    for (Markup const& link : links) {
        joined += (joined.empty() ? "" : ", ") + link;
    }
    return links.empty() ? "&ndash;" : joined;
}

Cell TextCell(std::string const& text) {
    return {text.empty() ? "&ndash;" : XmlText(text)};
}

Cell TimeCell(std::optional<std::int64_t> time) {
    return TextCell(time ? LocalTime(*time) : "");
}

Cell NameCell(Markup const& name) {
    return {name, Cell::Kind::name};
}

Cell CountCell(std::uint64_t count) {
    return {Grouped(count), Cell::Kind::number};
}

Table::Table(std::string const& caption, std::vector<Column> const& columns)
    : caption_(XmlText(caption)) {
    html_ = "<div class=\"scroll\" tabindex=\"0\" role=\"region\" aria-label=\"" + caption_ +
            "\">\n<table>\n<caption>" + caption_ + "</caption>\n<thead><tr>";
    for (Column const& column : columns) {
        html_ += std::string("<th scope=\"col\"") + (column.isNumber ? " class=\"n\"" : "") + ">" +
                 XmlText(column.name) + "</th>";
    }
    html_ += "</tr></thead>\n<tbody>\n";
}

void Table::Add(std::string const& id, std::vector<Cell> const& cells) {
    html_ += id.empty() ? "<tr>" : "<tr id=\"" + id + "\">";
    bool isFirst = true;
    for (Cell const& cell : cells) {
        std::string const name = isFirst ? "th" : "td";
        char const* const looks[] = {"", " class=\"n\"", " class=\"name\""}; // by kind
        html_ += "<" + name + (isFirst ? " scope=\"row\"" : "") +
                 looks[static_cast<std::size_t>(cell.kind)] + ">" + cell.content + "</" + name +
                 ">";
        isFirst = false;
    }
    html_ += "</tr>\n";
    ++rows_;
}

Markup Table::Html(std::string const& whenEmpty) const {
    return IsEmpty() ? "<p>" + XmlText(whenEmpty) + "</p>\n"
                     : html_ + "</tbody>\n</table>\n</div>\n";
}

} // namespace workstation::evidence::reporting
