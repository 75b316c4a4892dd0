// What stands beside an exported file: what was asked for, what it holds, and what is missing.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "UnnamedFile.h"
#include "evidence/exporting/Findings.h"
#include "evidence/exporting/PieceCopy.h"
#include "evidence/exporting/Pieces.h"

namespace workstation::evidence::exporting {

// How every manifest begins.
constexpr char manifestBegin[] = "{\"program\":\"d2b\",\n";

// Null: not asked for. Of an event or a recording the stream and the interval are its own.
struct Asked {
    std::optional<std::string> reid;
    std::optional<unsigned int> stream; // from 1
    std::optional<std::int64_t> from;   // seconds since the epoch
    std::optional<std::int64_t> to;
};

// Whether nothing is missing: no gap, no fault, a first tick not more than a second after what was
// asked for, a last one not more than a second before.
bool IsComplete(Asked const& asked, CopiedPieces const& copied);

// Takes the findings while the file is copied, and keeps them on the disk: there can be millions.
class ManifestDraft : public Findings {
public:
    // `path` is that of the manifest. Throws Failure, as the other operations do.
    explicit ManifestDraft(std::string const& path);

    void Add(ExportedFault const& fault) override;
    void AddGap(PlacedTick const& before, PlacedTick const& after) override;

    // Writes the manifest, on the disk when this returns. `name` is that of the exported file,
    // without a folder. To be called once.
    UnnamedFile& Complete(std::string const& name, Asked const& asked,
                          std::vector<Piece> const& pieces, CopiedPieces const& copied);

private:
    // The elements of a list, one on each line.
    class List {
    public:
        explicit List(std::string const& path)
            : file_(path) {}

        void Add(std::string const& element);
        void AppendTo(UnnamedFile& file);

    private:
        void WriteOut();

        UnnamedFile file_;
        std::string text_; // not yet in the file
        bool isEmpty_ = true;
    };

    UnnamedFile file_;
    List gaps_;
    List faults_;
};

} // namespace workstation::evidence::exporting
