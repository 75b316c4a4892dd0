// Pictures that gnuplot draws.
#include "evidence/plotting/Picture.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <sstream>

#include "Failure.h"
#include "FileDescriptor.h"
#include "NewFile.h"
#include "evidence/Utf8.h"
#include "evidence/XmlText.h"

extern char** environ; // NOLINT(readability-redundant-declaration): POSIX has it in no header

namespace workstation::evidence::plotting {
namespace {

// A file in memory, for the input and the output of another program.
FileDescriptor MemoryFile(std::string const& content) {
    FileDescriptor file(memfd_create("gnuplot", MFD_CLOEXEC));
    if (!file) {
        throw SystemFailure("cannot make a file in memory");
    }
    WriteAll(file.Get(), {reinterpret_cast<unsigned char const*>(content.data()), content.size()},
             "a file in memory");
    lseek(file.Get(), 0, SEEK_SET);
    return file;
}

std::string ContentOf(FileDescriptor const& file) {
    std::string content(static_cast<std::size_t>(lseek(file.Get(), 0, SEEK_END)), '\0');
    for (std::size_t done = 0; done < content.size();) {
        ssize_t const got = pread(file.Get(), content.data() + done, content.size() - done,
                                  static_cast<off_t>(done));
        if (got <= 0) {
            throw SystemFailure("cannot read what gnuplot has drawn");
        }
        done += static_cast<std::size_t>(got);
    }
    return content;
}

struct Run {
    int status; // as waitpid(2) has it
    std::string output;
    std::string errors;
};

// Runs gnuplot, without the start files of the user.
Run RunGnuplot(std::vector<char const*> arguments, std::string const& input) {
    FileDescriptor const in = MemoryFile(input);
    FileDescriptor const out = MemoryFile("");
    FileDescriptor const errors = MemoryFile("");
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, in.Get(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&files, out.Get(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&files, errors.Get(), STDERR_FILENO);
    arguments.insert(arguments.begin(), "gnuplot");
    arguments.push_back(nullptr);
    pid_t child = -1;
    errno = posix_spawnp(&child, "gnuplot", &files, nullptr,
                         const_cast<char* const*>(arguments.data()), environ);
    int const error = errno;
    posix_spawn_file_actions_destroy(&files);
    if (error == ENOENT) {
        throw Failure(ENOENT, "gnuplot draws the pictures and is missing: install gnuplot-nox");
    }
    if (error != 0) {
        throw Failure(error, std::string("cannot run gnuplot: ") + std::strerror(error));
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            throw SystemFailure("cannot wait for gnuplot");
        }
    }
    return {status, ContentOf(out), ContentOf(errors)};
}

// Replaces what stands between the first `begin` and the `end` after it.
void ReplaceBetween(std::string& text, std::string const& begin, std::string const& end,
                    std::string const& content) {
    auto const place = text.find(begin);
    if (place != std::string::npos) {
        auto const from = place + begin.size();
        text.replace(from, text.find(end, from) - from, XmlText(content));
    }
}

// gnuplot names the picture after itself, and the parts after its commands.
std::string WithNames(std::string svg, Picture const& picture) {
    ReplaceBetween(svg, "<title>", "</title>", picture.title);
    ReplaceBetween(svg, "<desc>", "</desc>", picture.description);
    for (std::size_t i = 0; i < picture.parts.size(); ++i) {
        ReplaceBetween(svg, "<g id=\"gnuplot_plot_" + std::to_string(i + 1) + "\" ><title>",
                       "</title>", picture.parts[i]);
    }
    // The one text that gnuplot leaves as XML cannot have it.
    for (auto place = svg.find("]]>"); place != std::string::npos; place = svg.find("]]>", place)) {
        svg.replace(place, 3, "]]&gt;");
    }
    return svg;
}

std::string FirstLine(std::string const& text) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.find_first_not_of(" \t^") != std::string::npos) {
            return line.substr(line.find_first_not_of(' '));
        }
    }
    return "no reason given";
}

} // namespace

std::string Quoted(std::string const& text) {
    std::string quoted = "\"";
    for (char const character : ValidUtf8(text, "?")) {
        if (character == '"') {
            quoted += "\\042";
        } else if (character == '\\') {
            quoted += "\\\\";
        } else {
            quoted += character;
        }
    }
    return quoted + "\"";
}

std::string SetCanvas(PictureFormat format, double width, double height) {
    std::ostringstream text;
    if (format == PictureFormat::svg) {
        text << "set terminal svg size " << width << "," << height
             << " dynamic font \"DejaVu Sans,11\"";
    } else { // twice as large, for paper and dense screens
        text << "set terminal pngcairo size " << 2 * width << "," << 2 * height
             << " font \"DejaVu Sans,8.25\" fontscale 2 linewidth 2 pointscale 2";
    }
    text << " noenhanced background rgb \"white\"\n"
         << "set encoding utf8\n"
         << "unset key; unset border; unset tics\n"
         << "set lmargin at screen 0; set rmargin at screen 1\n"
         << "set bmargin at screen 0; set tmargin at screen 1\n"
         << "set xrange [0:" << width << "]; set yrange [" << height << ":0]\n";
    return text.str();
}

void RequireGnuplot() {
    RunGnuplot({"--version"}, "");
}

std::string Draw(Picture const& picture, PictureFormat format) {
    auto run = RunGnuplot({"-d"}, picture.script);
    if (!WIFEXITED(run.status) || WEXITSTATUS(run.status) != 0 || run.output.empty()) {
        throw Failure(EIO, "gnuplot failed: " + FirstLine(run.errors));
    }
    return format == PictureFormat::svg ? WithNames(std::move(run.output), picture)
                                        : std::move(run.output);
}

} // namespace workstation::evidence::plotting
