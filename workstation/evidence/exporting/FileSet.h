// An exported file and what stands beside it.
#pragma once

#include <functional>
#include <string>

#include "UnnamedFile.h"
#include "evidence/exporting/Manifest.h"
#include "evidence/exporting/PieceCopy.h"

namespace workstation::evidence::exporting {

// OUT.ts, OUT.ts.sha256 and OUT.ts.json. They appear when they are published, and OUT.ts last: when
// it is there, it is complete, and so are the others. Where files without a name are possible,
// nothing is left by a process that is killed before that.
class FileSet {
public:
    // `isReplaceable`: whether files that are there may be replaced. Throws Failure, as the other
    // operations do: EEXIST when they may not. The other two files without OUT.ts are left by a
    // process that was killed while it published them, and may be replaced; others of their names
    // may not.
    FileSet(std::string const& path, bool isReplaceable);

    std::string const& Path() const { return path_; }

    CopyTarget Target() const { return {file_.Descriptor(), file_.Path(), true}; }
    Findings& Draft() { return draft_; }

    // After the copy: flushes the file, reads it again and compares it with what was copied, and
    // writes the other two. `progress` is called with numbers of bytes.
    void Complete(Asked const& asked, JoinedPieces const& pieces, CopiedPieces const& copied,
                  std::function<void(std::uint64_t bytes)> const& progress);

    // Gives the files their names, durably. A file that is replaced is removed first, so that
    // OUT.ts never stands beside the manifest of another file. The files are removed with the
    // object unless they are kept.
    void Publish();
    void Keep();

    // The manifest, to be read.
    UnnamedFile const& ManifestFile() const { return *manifest_; }

private:
    void Compare(CopiedPieces const& copied,
                 std::function<void(std::uint64_t bytes)> const& progress) const;

    std::string path_;
    bool isReplaceable_;
    ManifestDraft draft_;
    UnnamedFile* manifest_ = nullptr; // of the draft, when it is complete
    UnnamedFile checksum_;
    UnnamedFile file_; // last: it is removed first
};

} // namespace workstation::evidence::exporting
