// Commands and data for gnuplot, put together piece by piece.
#pragma once

#include <cstdint>
#include <iomanip>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "evidence/plotting/Picture.h"

namespace workstation::evidence::plotting {

// A place in pixels, to the hundredth.
struct Pixels {
    double value;
};

// A table of data. Values are written one after the other, a row ends with EndRow.
class DataBlock {
public:
    // `columns` are the names of the columns, in a comment.
    DataBlock(std::string name, std::string const& columns)
        : name_(std::move(name)) {
        text_ << "# " << columns << "\n";
    }

    std::string const& Name() const { return name_; }
    bool IsEmpty() const { return rows_ == 0; }
    std::string Text() const { return "$" + name_ + " << END\n" + text_.str() + "END\n"; }

    DataBlock& operator<<(std::string const& text) { return Put(Quoted(text)); }
    DataBlock& operator<<(char const* word) { return Put(word); }
    DataBlock& operator<<(bool isTrue) { return Put(isTrue ? 1 : 0); }
    DataBlock& operator<<(Pixels place) {
        std::ostringstream text;
        text << std::fixed << std::setprecision(2) << place.value;
        return Put(text.str());
    }
    template <typename Number>
    DataBlock& operator<<(Number value) {
        return Put(value);
    }
    // A dash where there is no value.
    template <typename Number>
    DataBlock& operator<<(std::optional<Number> const& value) {
        return value ? Put(*value) : Put("-");
    }

    void EndRow() {
        text_ << "\n";
        isInRow_ = false;
        ++rows_;
    }

private:
    template <typename Value>
    DataBlock& Put(Value const& value) {
        text_ << (isInRow_ ? " " : "") << value;
        isInRow_ = true;
        return *this;
    }

    std::string name_;
    std::ostringstream text_;
    std::size_t rows_ = 0;
    bool isInRow_ = false;
};

// The plots of one picture, each of a block of data. Those of empty blocks are left out, since
// gnuplot refuses them.
class PlotCommand {
public:
    // `how` follows the name of the block in the command.
    void Add(std::string const& part, DataBlock const& data, std::string const& how) {
        if (!data.IsEmpty()) {
            parts_.push_back(part);
            text_ += (text_.empty() ? "plot $" : ", \\\n     $") + data.Name() + " " + how;
        }
    }

    std::string Text() const { return text_ + "\n"; }
    std::vector<std::string> const& Parts() const { return parts_; }

private:
    std::string text_;
    std::vector<std::string> parts_;
};

inline std::string InQuotes(char const* text) {
    return "\"" + std::string(text) + "\"";
}

// Draws boxes: the columns `first` to `first` + 3 are their left, right, upper and lower edge.
// `colour` is the column with the colour; 0 when there is none.
inline std::string Boxes(int first, int colour = 0) {
    auto const column = [&](int number) { return std::to_string(first + number); };
    return "using (($" + column(0) + "+$" + column(1) + ")/2):(($" + column(2) + "+$" + column(3) +
           ")/2):" + column(0) + ":" + column(1) + ":" + column(2) + ":" + column(3) +
           (colour == 0 ? "" : ":" + std::to_string(colour)) + " with boxxyerror";
}

// Draws points of a type and a size.
inline std::string Points(int type, double size, char const* colour) {
    std::ostringstream text;
    text << " with points pt " << type << " ps " << size << " lc rgb " << InQuotes(colour);
    return text.str();
}

} // namespace workstation::evidence::plotting
