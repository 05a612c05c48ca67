#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "TestSupport.h"
#include "model/BlockParser.h"
#include "model/HostReport.h"
#include "model/SlideShow.h"
#include "services/Error.h"
#include "services/Prompt.h"

namespace kvo::test {

// Records every message the model shows, for the life of the object.
class RecordingPrompt final : public Prompt {
public:
    struct Shown {
        std::string text;
        std::string title;
        MessageKind kind;
    };

    RecordingPrompt() { SetCurrentPrompt(this); }
    ~RecordingPrompt() override { SetCurrentPrompt(nullptr); }
    RecordingPrompt(const RecordingPrompt&) = delete;
    RecordingPrompt& operator=(const RecordingPrompt&) = delete;

    void Message(const std::string& text, const std::string& title, MessageKind kind) override {
        shown.push_back({text, title, kind});
    }
    // Answers in script order; No once the script runs out.
    OverwriteAnswer AskOverwrite(const std::string& existingPath) override {
        asked.push_back(existingPath);
        if (answers.empty()) return OverwriteAnswer::No;
        const OverwriteAnswer answer = answers.front();
        answers.erase(answers.begin());
        return answer;
    }

    bool ConfirmFiles(const std::string& text, const std::string&, const std::vector<std::string>& files) override {
        confirmed.push_back({text, files});
        return allowFiles;
    }

    // Answers in script order; a cancel once the script runs out.
    std::optional<std::string> AskText(const std::string& prompt, const std::string& title,
                                       const std::string& defaultText) override {
        askedText.push_back({prompt, title, MessageKind::Question});
        lastDefault = defaultText;
        if (texts.empty()) return std::nullopt;
        const std::optional<std::string> answer = texts.front();
        texts.erase(texts.begin());
        return answer;
    }

    Answer Ask(const std::string& text, const std::string& title, bool withCancel) override {
        questions.push_back({text, title, MessageKind::Question});
        if (answersToAsk.empty()) return withCancel ? Answer::Cancel : Answer::No;
        const Answer answer = answersToAsk.front();
        answersToAsk.erase(answersToAsk.begin());
        return answer;
    }
    std::optional<std::string> ChooseOpenFile(const FileChoice& choice) override { return NextFile(choice); }
    std::optional<std::string> ChooseSaveFile(const FileChoice& choice) override { return NextFile(choice); }
    std::optional<std::string> ChooseFolder(const FileChoice& choice) override { return NextFile(choice); }
    std::vector<std::string> ChooseOpenFiles(const FileChoice& choice) override {
        fileDialogs.push_back(choice);
        if (fileLists.empty()) return {};
        std::vector<std::string> answer = fileLists.front();
        fileLists.erase(fileLists.begin());
        return answer;
    }
    // Answers in script order; a cancel once the script runs out.
    std::optional<int32_t> ChooseColor(int32_t) override {
        if (colors.empty()) return std::nullopt;
        const int32_t answer = colors.front();
        colors.erase(colors.begin());
        return answer;
    }

    std::vector<Shown> shown;
    std::vector<Shown> questions;
    std::vector<Answer> answersToAsk;
    std::vector<FileChoice> fileDialogs;
    std::vector<std::optional<std::string>> files;  // answers to file dialogs, in order; then cancel
    std::vector<int32_t> colors;
    std::vector<std::vector<std::string>> fileLists;  // answers to multiple-file dialogs
    std::vector<Shown> askedText;
    std::string lastDefault;
    std::vector<std::optional<std::string>> texts;
    std::vector<std::string> asked;
    std::vector<OverwriteAnswer> answers;
    struct FileList {
        std::string text;
        std::vector<std::string> files;
    };
    std::vector<FileList> confirmed;
    bool allowFiles = true;  // the answer to every list of files

private:
    std::optional<std::string> NextFile(const FileChoice& choice) {
        fileDialogs.push_back(choice);
        if (files.empty()) return std::nullopt;
        const std::optional<std::string> answer = files.front();
        files.erase(files.begin());
        return answer;
    }
};

// A host report scripted by the test: cells by (column, row), and one member
// that can be made to fail.
class FakeHostReport final : public HostReport {
public:
    Variant S6A(int16_t n) override {
        ++calls;
        if (n == 0) return sequenceNumber;
        return n == 2 ? angularDecimals : linearDecimals;
    }
    Variant S1D() override { return featureName; }
    Variant s(int16_t column, int16_t row) override {
        if (failingCell && *failingCell == std::make_pair(column, row))
            throw Error(440, "Host", "Automation error");
        const auto it = cells.find({column, row});
        return it == cells.end() ? Variant() : it->second;
    }
    bool MmcTolerancing() override { return mmc; }
    bool limittolerancing() override { return limits; }
    Variant MmcBonus() override { return bonus; }

    std::map<std::pair<int16_t, int16_t>, Variant> cells;
    std::optional<std::pair<int16_t, int16_t>> failingCell;
    Variant sequenceNumber = Variant(int32_t{12});
    Variant featureName = Variant("BORE1");
    Variant linearDecimals = Variant(int16_t{3});
    Variant angularDecimals = Variant(int16_t{2});
    Variant bonus = Variant(0.0);
    bool mmc = false;
    bool limits = false;
    int calls = 0;
};

// A parser on a text written to a temporary file, positioned after its first
// token (the BLOCK line a reader's caller consumes).
class ParserOn {
public:
    explicit ParserOn(const std::string& text) {
        WriteFile(path_, text);
        parser.OpenFile(path_, false);
        parser.GetToken();
    }
    BlockParser parser;

private:
    TempDir dir_;
    std::string path_ = dir_.File("block.txt");
};

inline std::string TextOf(const SlideShow& show) {
    std::string out;
    show.WriteText(out);
    return out;
}

}  // namespace kvo::test
