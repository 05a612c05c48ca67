#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QObject>
#include <QtCore/QTimer>

#include <chrono>
#include <map>
#include <optional>

namespace kvo {

// Watches a folder for results files (QIF results and report files) that the
// measuring software writes, and tells each one once it is complete: when its
// size and time have stayed the same for a settling time, or it was last
// written that long ago, as a file renamed into place usually was. What is
// there at the start counts as seen; a file written anew counts again.
class ResultsFolder final : public QObject {
    Q_OBJECT
public:
    static constexpr std::chrono::milliseconds kPollInterval{100};
    static constexpr std::chrono::milliseconds kSettle{300};

    explicit ResultsFolder(QObject* parent = nullptr);

    // Starts watching; the newest results file already there, if any.
    std::optional<QString> Watch(const QString& folder, std::chrono::milliseconds settle = kSettle);
    const QString& Folder() const { return folder_; }
    // One look at the folder; the timer calls it, a test may too.
    void Poll();

    static bool IsResultsFile(const QString& fileName);

signals:
    void fileReady(const QString& path);

private:
    struct Seen {
        qint64 size;
        QDateTime modified;
        QDateTime since;  // when this size and time were first seen
        bool told;
    };
    QFileInfoList ResultsFiles() const;

    QString folder_;
    std::chrono::milliseconds settle_ = kSettle;
    std::map<QString, Seen> seen_;
    QTimer timer_;
};

}  // namespace kvo
