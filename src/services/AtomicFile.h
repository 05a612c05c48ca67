#pragma once

#include <sys/types.h>

#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace kvo {

class Error;

// The file a path names, following symbolic links.
std::string ResolveLinks(const std::string& target);

// Writes a file by writing a temporary file beside it and renaming that over the
// target only once everything is on disk: a failed write leaves the old file intact.
// Every save of the program goes through here.
class AtomicFile {
public:
    // Creates the temporary file; raises error 75 naming the target on failure,
    // and when the target is read-only or not an ordinary file. Removes our own
    // temporary files older than a day from the folder first.
    explicit AtomicFile(const std::string& target);
    // Discards the temporary file unless Commit succeeded.
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    // Opened on first use: a writer that opens the temporary file by its path
    // itself never calls it.
    std::ostream& Stream();
    const std::string& TemporaryPath() const { return temporary_; }
    // The file that will be replaced: the target, or what it links to.
    const std::string& TargetPath() const { return target_; }

    // Flushes, syncs and renames over the target; raises error 75 on failure.
    // Whatever was written to TemporaryPath() by any means is what lands.
    void Commit();
    // Closes the temporary file once everything is written, so that many can
    // wait for their commit without holding a descriptor each.
    void Close();
    // Commits files together, with two flushes to disk in all instead of two each.
    static void CommitAll(const std::vector<AtomicFile*>& files);
    // Raises error again with the target named where it named the temporary file.
    [[noreturn]] void NameTheTarget(const Error& error) const;

private:
    void Replace();
    // reason: a string id completing "The file ... cannot be written:".
    [[noreturn]] void Fail(int32_t reason, int errorNumber);

    std::string target_;
    std::string temporary_;
    std::ofstream stream_;
    mode_t mode_ = 0;
    bool committed_ = false;
};

void WriteFileAtomically(const std::string& target, std::string_view bytes);

}  // namespace kvo
