// Every reader of a picture's, a text's or a document's bytes refuses a FIFO
// named like one without waiting for a writer: each runs on a thread of its
// own and must be done well before a writer comes to let a stuck one go.
#include "core/SystemPath.h"
#include "preview/AnimatedImageSupport.h"
#include "preview/GalleryThumbnail.h"
#include "preview/PngRowReading.h"
#include "preview/PreviewSelection.h"
#include "preview/StillImageReading.h"
#include "support/TestDir.h"
#include "text/TextPreviewLoading.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <functional>
#include <future>
#include <sys/stat.h>
#include <unistd.h>

using namespace std::chrono_literals;
using TextOutcome = TextPreviewLoading::TextPreviewLoadResult::Outcome;

namespace {

bool classifiedAsPreview(const char* name, const QString& path) {
    return PreviewSelection::classifyFile(QString::fromLatin1(name), path) ==
           ViewerContentKind::preview;
}

TEST(FifoReadingTest, EachReaderRefusesAFifoAtOnce) {
    TestDir dir;
    const struct {
        const char* name;
        std::function<bool(const QString&)> refused;
    } readers[] = {
        {"still.png",
         [](const QString& p) {
             return StillImageReading::read(p, {64, 64}).isNull();
         }},
        {"rows.png",
         [](const QString& p) {
             return PngRowReading::readScaled(p, {8, 8}).isNull();
         }},
        {"moving.png",
         [](const QString& p) { return !AnimatedImageSupport::animatedImageInfo(p); }},
        {"moving.gif",
         [](const QString& p) { return !AnimatedImageSupport::animatedImageInfo(p); }},
        {"frames.gif",
         [](const QString& p) { return AnimatedImageSupport::loadAllFrames(p).isEmpty(); }},
        {"thumb.jpg", [](const QString& p) { return !GalleryThumbnail::fromFile(p); }},
        // Neither read for VIEWER's text nor handed to a converter, which
        // would wait in open() as well.
        {"notes.txt",
         [](const QString& p) {
             return TextPreviewLoading::readTextHead(p).outcome == TextOutcome::ioFailed;
         }},
        {"styled.rtf",
         [](const QString& p) {
             return TextPreviewLoading::extractDocumentText(p).outcome == TextOutcome::ioFailed;
         }},
        // Named like a document or like nothing, it goes to the graphic
        // preview unread.
        {"pipe.doc", [](const QString& p) { return classifiedAsPreview("pipe.doc", p); }},
        {"pipe", [](const QString& p) { return classifiedAsPreview("pipe", p); }},
        {"letter.docx",
         [](const QString& p) {
             return PreviewSelection::sniffFileHead(p) == PreviewSelection::FileHead::other;
         }},
    };
    for (const auto& reader : readers) {
        SCOPED_TRACE(reader.name);
        const QString fifo = dir.filePath(QString::fromLatin1(reader.name));
        ASSERT_EQ(::mkfifo(toSystemPath(fifo).constData(), 0644), 0);
        auto pending = std::async(std::launch::async, reader.refused, fifo);
        const bool finished = pending.wait_for(2s) == std::future_status::ready;
        // A writer that opens and closes lets a reader stuck in open() go.
        const int fd = ::open(toSystemPath(fifo).constData(), O_WRONLY | O_NONBLOCK);
        if (fd >= 0) {
            ::close(fd);
        }
        EXPECT_TRUE(finished);
        EXPECT_TRUE(pending.get());
    }
}

} // namespace
