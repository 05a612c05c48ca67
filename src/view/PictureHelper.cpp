#include "PictureHelper.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QProcess>
#include <QtCore/QProcessEnvironment>
#include <QtCore/QString>

#include <sys/resource.h>

#include <algorithm>

#include "helpers/PictureProtocol.h"
#include "services/Error.h"
#include "services/Paths.h"

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

[[noreturn]] void Fail(const std::string& fileName, const std::string& why) {
    throw Error(kInvalidPicture, "Metafile.LoadFile", "The picture \"" + fileName + "\" " + why);
}

}  // namespace

QByteArray RunPictureHelper(const std::string& helperName, const std::string& fileName, const std::atomic<bool>* stop,
                            const QByteArray* bytes) {
    // Beside the program in a build tree, in libexec when installed.
    std::string helper = JoinPath(ExecutableDirectory(), helperName);
    if (!FileExists(helper)) helper = JoinPath(ExecutableDirectory(), "../libexec/kvoeditor/" + helperName);
    if (!FileExists(helper)) Fail(fileName, "cannot be read: " + helperName + " is not installed with the program");
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
    if (!process.waitForStarted()) Fail(fileName, "cannot be read: " + helperName + " did not start");
    if (bytes != nullptr) {
        process.write(*bytes);  // written while the answer is read below
        process.closeWriteChannel();
    }
    // Taken as it comes, so that an answer past the limit is refused before
    // the editor holds it whole.
    QElapsedTimer clock;
    clock.start();
    QByteArray out;
    const auto giveUp = [&](const std::string& why) {
        process.kill();
        process.waitForFinished();
        Fail(fileName, why);
    };
    while (process.state() != QProcess::NotRunning) {
        const qint64 left = kTimeLimitMs - clock.elapsed();
        if (left <= 0) giveUp("took too long to read and was given up (is it damaged?)");
        if (stop != nullptr && stop->load()) giveUp("was not read: it is no longer shown");
        const int wait = stop != nullptr ? std::min<int>(static_cast<int>(left), kStopCheckMs) : static_cast<int>(left);
        if (!process.waitForReadyRead(wait) && process.state() != QProcess::NotRunning && clock.elapsed() >= kTimeLimitMs)
            giveUp("took too long to read and was given up (is it damaged?)");
        out += process.readAllStandardOutput();
        if (out.size() > PictureProtocol::kMaxOutputBytes) giveUp("cannot be drawn: it is too large to be drawn here");
    }
    out += process.readAllStandardOutput();
    if (out.size() > PictureProtocol::kMaxOutputBytes) Fail(fileName, "cannot be drawn: it is too large to be drawn here");
    if (process.exitStatus() != QProcess::NormalExit)
        Fail(fileName, "made the picture reader fail (it is damaged or not a picture)");
    if (process.exitCode() != 0) {
        const QString reason = QString::fromLocal8Bit(process.readAllStandardError()).trimmed();
        Fail(fileName, reason.isEmpty() ? std::string("cannot be read") : reason.toStdString());
    }
    return out;
}

}  // namespace kvo
