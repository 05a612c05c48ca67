#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace kvo {

class SlideShow;

// The copies the editor keeps of documents with unsaved changes, one per
// document, in the user's state folder: a killed editor loses only what changed
// since the last copy. Each copy is a binary slide show; a small file beside it
// names the document it belongs to.
class Recovery {
public:
    struct Copy {
        std::string document;  // full path of the document
        std::string path;      // the copy itself
        std::filesystem::file_time_type written;
    };

    explicit Recovery(std::string directory);
    // $XDG_STATE_HOME/kvoeditor/recovery, or ~/.local/state/kvoeditor/recovery.
    static std::string DefaultDirectory();

    const std::string& Directory() const { return directory_; }
    std::string CopyPath(const std::string& document) const;
    // Atomic; error 75 naming the copy when it cannot be written.
    void Write(const SlideShow& show, const std::string& document) const;
    void Remove(const std::string& document) const;
    // The copies newer than their documents (or whose documents are gone), newest first.
    std::vector<Copy> Pending() const;
    // The copy's contents in the format of its document, so that saving it
    // writes the document as the user had it; errors name the copy.
    std::unique_ptr<SlideShow> Load(const Copy& copy) const;

private:
    std::string Stem(const std::string& document) const;

    std::string directory_;
};

}  // namespace kvo
