#include "ResultsFolder.h"

namespace kvo {

ResultsFolder::ResultsFolder(QObject* parent) : QObject(parent) {
    timer_.setInterval(kPollInterval);
    connect(&timer_, &QTimer::timeout, this, &ResultsFolder::Poll);
}

// A writer's temporary name (".part", "~", a leading dot) is no results file,
// so a file renamed into place is seen first under its final name, whole.
bool ResultsFolder::IsResultsFile(const QString& fileName) {
    if (fileName.startsWith('.')) return false;
    return fileName.endsWith(".qif", Qt::CaseInsensitive) || fileName.endsWith(".rpt", Qt::CaseInsensitive);
}

QFileInfoList ResultsFolder::ResultsFiles() const {
    QFileInfoList files;
    for (const QFileInfo& file : QDir(folder_).entryInfoList(QDir::Files | QDir::Readable, QDir::NoSort))
        if (IsResultsFile(file.fileName())) files.push_back(file);
    return files;
}

std::optional<QString> ResultsFolder::Watch(const QString& folder, std::chrono::milliseconds settle) {
    folder_ = folder;
    settle_ = settle;
    seen_.clear();
    std::optional<QFileInfo> newest;
    for (const QFileInfo& file : ResultsFiles()) {
        seen_[file.absoluteFilePath()] = {file.size(), file.lastModified(), {}, true};
        if (!newest || file.lastModified() > newest->lastModified()) newest = file;
    }
    timer_.start();
    if (!newest) return std::nullopt;
    return newest->absoluteFilePath();
}

void ResultsFolder::Poll() {
    const QDateTime now = QDateTime::currentDateTimeUtc();
    std::map<QString, Seen> present;
    std::vector<QString> ready;
    for (const QFileInfo& file : ResultsFiles()) {
        const QString path = file.absoluteFilePath();
        Seen seen{file.size(), file.lastModified(), now, false};
        const auto before = seen_.find(path);
        if (before != seen_.end() && before->second.size == seen.size && before->second.modified == seen.modified) {
            seen.since = before->second.since;
            seen.told = before->second.told;
            const qint64 settle = settle_.count();
            const bool settled = seen.since.msecsTo(now) >= settle || seen.modified.msecsTo(now) >= settle;
            if (!seen.told && seen.size > 0 && settled) {
                seen.told = true;
                ready.push_back(path);
            }
        }
        present[path] = seen;
    }
    seen_ = std::move(present);
    for (const QString& path : ready) emit fileReady(path);
}

}  // namespace kvo
