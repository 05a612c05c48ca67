#include "PictureHelper.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QProcess>
#include <QtCore/QProcessEnvironment>
#include <QtCore/QString>

#include <sys/resource.h>

#include <algorithm>

#include "helpers/PictureProtocol.h"
#include "services/Error.h"
#include "services/Language.h"
#include "services/Paths.h"
#include "services/StringIds.h"

namespace kvo {

namespace {

constexpr int32_t kInvalidPicture = 481;
constexpr int kTimeLimitMs = 20000;
// How soon a helper notices that its picture is no longer wanted.
constexpr int kStopCheckMs = 50;
constexpr rlim_t kCpuSeconds = 15;
constexpr rlim_t kMemoryBytes = rlim_t{2} << 30;
// The address sanitizer reserves terabytes of address space up front, so a
// sanitized helper cannot run under an address-space limit.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kLimitAddressSpace = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kLimitAddressSpace = false;
#else
constexpr bool kLimitAddressSpace = true;
#endif
#else
constexpr bool kLimitAddressSpace = true;
#endif

// A helper's line on standard error: a problem's string id, then its figure.
[[noreturn]] void FailAsTold(const std::string& fileName, const std::string& line) {
    std::size_t end = 0;
    int32_t id = 0;
    try {
        id = std::stoi(line, &end);
    } catch (const std::exception&) {
        id = 0;
    }
    if (id < Str::PictureUnreadable || id > Str::PictureWmfPlayFailed) {  // the first and last of the picture problems
        if (line.empty()) PictureFailed(fileName, Str::PictureUnreadable);
        PictureFailed(fileName, Str::PictureUnreadableBecause, line);
    }
    PictureFailed(fileName, id, end < line.size() ? line.substr(end + 1) : std::string());
}

}  // namespace

void PictureFailed(const std::string& fileName, int32_t why, const std::string& figure, const char* source) {
    throw Error(kInvalidPicture, source, FormatResString(why, {fileName, figure}));
}

QByteArray RunPictureHelper(const std::string& helperName, const std::string& fileName, const std::atomic<bool>* stop,
                            const QByteArray* bytes) {
    const std::string helper = CompanionProgram(helperName);
    if (!FileExists(helper)) PictureFailed(fileName, Str::PictureHelperMissing, helperName);
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    process.setProcessEnvironment(environment);
    process.setChildProcessModifier([] {
        const rlimit cpu{kCpuSeconds, kCpuSeconds};
        const rlimit memory{kMemoryBytes, kMemoryBytes};
        setrlimit(RLIMIT_CPU, &cpu);
        if (kLimitAddressSpace) setrlimit(RLIMIT_AS, &memory);
    });
    process.start(QString::fromStdString(helper), {bytes != nullptr ? QString("-") : QString::fromLocal8Bit(fileName.c_str())});
    if (!process.waitForStarted()) PictureFailed(fileName, Str::PictureHelperNotStarted, helperName);
    if (bytes != nullptr) {
        process.write(*bytes);  // written while the answer is read below
        process.closeWriteChannel();
    }
    // Taken as it comes, so that an answer past the limit is refused before
    // the editor holds it whole.
    QElapsedTimer clock;
    clock.start();
    QByteArray out;
    const auto giveUp = [&](int32_t why) {
        process.kill();
        process.waitForFinished();
        PictureFailed(fileName, why);
    };
    while (process.state() != QProcess::NotRunning) {
        const qint64 left = kTimeLimitMs - clock.elapsed();
        if (left <= 0) giveUp(Str::PictureTookTooLong);
        if (stop != nullptr && stop->load()) giveUp(Str::PictureNoLongerShown);
        const int wait = stop != nullptr ? std::min<int>(static_cast<int>(left), kStopCheckMs) : static_cast<int>(left);
        if (!process.waitForReadyRead(wait) && process.state() != QProcess::NotRunning && clock.elapsed() >= kTimeLimitMs)
            giveUp(Str::PictureTookTooLong);
        out += process.readAllStandardOutput();
        if (out.size() > PictureProtocol::kMaxOutputBytes) giveUp(Str::PictureTooLarge);
    }
    out += process.readAllStandardOutput();
    if (out.size() > PictureProtocol::kMaxOutputBytes) PictureFailed(fileName, Str::PictureTooLarge);
    if (process.exitStatus() != QProcess::NormalExit)
        PictureFailed(fileName, Str::PictureReaderCrashed);
    if (process.exitCode() != 0) FailAsTold(fileName, QString::fromLocal8Bit(process.readAllStandardError()).trimmed().toStdString());
    return out;
}

}  // namespace kvo
