// The argument of option -y.
#include "arguments/InsertArgument.h"

#include <iostream>

#include "common/Int32.h"

namespace arguments {
namespace {

int ShowAndParseNumber(std::string const& text) {
    std::cout << "filenumstr = [" << text << "]" << std::endl;
    return common::ParseInt32(text.c_str());
}

void ShowNumber(int number) {
    std::cout << "destination file number = " << number << std::endl;
}

// <num>,<sourcename>: returns the number and leaves the source name in `text`.
std::optional<int> NumberBeforeComma(std::string& text, std::string::size_type comma) {
    if (comma == 0) {
        return std::nullopt;
    }
    int const number = ShowAndParseNumber(text.substr(0, comma));
    if (number < 1) {
        std::cerr << "error: comma implies a preceding destination file number." << std::endl;
        return std::nullopt;
    }
    ShowNumber(number);
    text.erase(0, comma + 1);
    std::cout << "optarg_ less prefix = [" << text << "]" << std::endl;
    return number;
}

// <num>.<rest>: returns the number; the whole text is the source name. Without a full stop the
// number is 0, which the insertion refuses.
std::optional<int> NumberInName(std::string const& text) {
    auto const stop = text.find('.');
    if (stop == std::string::npos) {
        return 0;
    }
    int const number = ShowAndParseNumber(text.substr(0, stop));
    if (number < 1) {
        return std::nullopt;
    }
    ShowNumber(number);
    std::cout << "base filename for source file = [" << text << "]" << std::endl;
    return number;
}

void CutSuffix(std::string& name) {
    auto const stop = name.rfind('.');
    if (stop == std::string::npos) {
        return;
    }
    std::string const suffix = name.substr(stop + 1);
    std::cout << "suffixstr = [" << suffix << "]" << std::endl;
    if (suffix != "ts") {
        return;
    }
    name.erase(stop);
    std::cout << "optarg_ less suffix = [" << name << "]" << std::endl;
}

} // namespace

std::optional<InsertArgument> ParseInsertArgument(std::string const& text) {
    std::cout << "complete option string = [" << text << "]" << std::endl;
    std::string name = text;
    auto const comma = name.find(',');
    auto const number =
        comma != std::string::npos ? NumberBeforeComma(name, comma) : NumberInName(name);
    if (!number) {
        return std::nullopt;
    }
    CutSuffix(name);
    std::cout << "\n";
    ShowNumber(*number);
    std::cout << "source file name = [" << name << ".ts]\n" << std::endl;
    return InsertArgument{*number, name};
}

} // namespace arguments
