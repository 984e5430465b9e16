#pragma once

#include <QByteArrayView>
#include <QString>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

class QObject;
namespace Background {
class Executor;
}

// Text for VIEWER that can never hang it: a plain file gives only its head,
// documents go through a converter to plain text, archive members are read
// through the archive services. Each load runs on a worker thread and races a
// time limit on the caller's thread; whichever ends first gives the outcome.
namespace TextPreviewLoading {

// At most this many bytes of a file are read, and of a converted document kept.
constexpr int64_t headLimit = 65536;
// The time a load may take before VIEWER gives up on it; the message names it.
constexpr int timeLimitSeconds = 3;
constexpr std::chrono::milliseconds defaultTimeLimit{timeLimitSeconds * 1000};

// The limit VIEWER's loads run under: defaultTimeLimit unless a test shortens
// it. The time-out message keeps naming timeLimitSeconds.
std::chrono::milliseconds timeLimit();
void setTimeLimit(std::chrono::milliseconds limit);

struct TextPreviewLoadResult {
    enum class Outcome { loaded, timedOut, cancelled, ioFailed, decodeFailed };

    Outcome outcome = Outcome::ioFailed;
    // Set for loaded only.
    QString text;
    QString encodingLabel;
    int64_t fileSize = 0;
    // How many bytes the text was made from: the head read, the converter's
    // output or the whole member.
    int64_t bytesRead = 0;

    static TextPreviewLoadResult loaded(QString text, QString label, int64_t fileSize,
                                        int64_t bytesRead);
    static TextPreviewLoadResult of(Outcome outcome) { return {outcome, {}, {}, 0, 0}; }
    bool isLoaded() const { return outcome == Outcome::loaded; }
    bool operator==(const TextPreviewLoadResult&) const = default;
};

// What VIEWER says in its pane for a load that failed: undecodable,
// unreadable or too slow. Empty for loaded and cancelled.
QString failureMessage(TextPreviewLoadResult::Outcome outcome);

// Set by whoever gave up on a load; workers look at it before they block and,
// while a converter runs, every few milliseconds.
using CancelFlag = std::atomic<bool>;

// The worker of a plain file: its size, then at most maxBytes from its start,
// decoded as a head that may be cut inside a character. Blocks; a read that
// never returns (a FIFO, a dead mount) keeps its thread.
TextPreviewLoadResult readTextHead(const QString& path, int64_t maxBytes = headLimit,
                                   const CancelFlag* cancelled = nullptr);

// The plain text of a document by the first converter installed for its
// extension, cut to headLimit UTF-8 bytes; fileSize is the document's own size.
// A missing converter, a failed one or empty output is ioFailed. A set
// cancelled flag kills the converter and gives cancelled.
TextPreviewLoadResult extractDocumentText(const QString& path,
                                          const CancelFlag* cancelled = nullptr);

// The head of an archive member, as for a plain file: only its first
// headLimit bytes are read (and inflated), and fileSize is the member's size.
// A stop request kills the archive tool that reads it.
TextPreviewLoadResult loadMemberText(const QString& archive, const QString& memberPath,
                                     std::stop_token stopToken = {});

// The converter's own text from unrtf, without the banner it writes first.
QByteArray stripUnrtfBanner(QByteArray output);
// The text cut to its first maxBytes bytes of UTF-8, never inside a character.
QString cutToUtf8Bytes(const QString& text, int64_t maxBytes);

// A load under way, made by start(). Cancelling kills a running converter,
// ends the race with cancelled at once and drops whatever the worker gives
// later. The handle may outlive the load.
class LoadHandle {
public:
    void cancel() const;
    bool isCancelled() const;

private:
    friend LoadHandle start(Background::Executor&,
                            std::function<TextPreviewLoadResult(const CancelFlag&)>,
                            std::chrono::milliseconds, QObject*,
                            std::function<void(const TextPreviewLoadResult&)>);
    struct Race;
    std::shared_ptr<Race> m_race;
};

// Runs work on the executor's disk-read pool against a timer of limit on the
// main thread. done runs once on the main thread with the first of: the
// worker's result, timedOut, cancelled. A worker still blocked after the
// time-out is abandoned, told to stop through its flag, and its result goes
// nowhere. When context is destroyed first, done never runs.
LoadHandle start(Background::Executor& executor,
                 std::function<TextPreviewLoadResult(const CancelFlag&)> work,
                 std::chrono::milliseconds limit, QObject* context,
                 std::function<void(const TextPreviewLoadResult&)> done);

} // namespace TextPreviewLoading
