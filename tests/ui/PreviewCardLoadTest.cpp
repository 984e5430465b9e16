// The preview card of a file that is neither picture nor film: its type, size
// and date are read on a reader thread, stepped here by hand, so a test can
// tell what the card shows before the read, after it, and when it is slow.
#include "ui/GeneralPreviewView.h"
#include "ui/PreviewBodyView.h"
#include "ui/VideoPreviewView.h"

#include "core/SystemPath.h"

#include <QMediaPlayer>

#include "ScreenTestSupport.h"
#include "support/SteppedStateFixture.h"

using namespace ScreenTest;
using namespace std::chrono_literals;

namespace {

class PreviewCardLoad : public SteppedStateFixture {
protected:
    void SetUp() override {
        preferences.setValue(QStringLiteral("uiFontSize"), 13.0);
        blob = dir.makeFile("blob.xyzzy", QByteArray(3000, '\x01'));
        other = dir.makeFile("other.xyzzy", QByteArray(5000, '\x02'));
        start();
        card = std::make_unique<GeneralPreviewView>(*state);
        card->resize(400, 300);
    }
    void TearDown() override {
        card.reset();
        SteppedStateFixture::TearDown();
    }
    // Runs the one read the card waits for, and nothing after it.
    void runTheRead() {
        ASSERT_EQ(executor.nextPool(), Background::Pool::diskRead);
        ASSERT_TRUE(executor.runNext());
    }
    bool showsLoading() { return countColor(grab(*card), card->rect(), Palette::dimText(), 2) > 0; }

    QString blob;
    QString other;
    std::unique_ptr<GeneralPreviewView> card;
};

// The card the cursor left stays up until the new one is read: a quick read
// goes straight from one card to the next.
TEST_F(PreviewCardLoad, TheCardIsReadOnAReaderThreadAndShownWhenTheReadIsBack) {
    card->setPath(blob);
    EXPECT_TRUE(card->cardLines().isEmpty()) << "read on the main thread";
    EXPECT_TRUE(card->isLoading());
    runTheRead();
    ASSERT_EQ(card->cardLines().size(), 4);
    EXPECT_EQ(card->cardLines().at(0), "blob.xyzzy");
    EXPECT_EQ(card->cardLines().at(2), "2.9 KB");
    EXPECT_FALSE(card->isLoading());

    const QImage before = grab(*card);
    card->setPath(other);
    EXPECT_EQ(card->cardLines().at(0), "blob.xyzzy") << "no step between the cards";
    EXPECT_EQ(grab(*card), before);
    runTheRead();
    EXPECT_EQ(card->cardLines().at(0), "other.xyzzy");
    EXPECT_EQ(card->cardLines().at(2), "4.9 KB");
}

TEST_F(PreviewCardLoad, AReadThatComesBackAfterTheCursorMovedOnIsDropped) {
    card->setPath(blob);
    card->setPath(other);
    runTheRead();
    EXPECT_TRUE(card->cardLines().isEmpty()) << "the stale read was shown";
    EXPECT_TRUE(card->isLoading());
    runTheRead();
    EXPECT_EQ(card->cardLines().at(0), "other.xyzzy");
}

// A read that takes longer than a moment says so; one that came back in time
// never does, however long the card then stands.
TEST_F(PreviewCardLoad, ASlowReadSaysItIsLoading) {
    const QImage empty = grab(*card);
    card->setPath(blob);
    executor.advance(199ms);
    EXPECT_FALSE(card->isLookingSlowly());
    EXPECT_EQ(grab(*card), empty);
    executor.advance(1ms);
    EXPECT_TRUE(card->isLookingSlowly());
    EXPECT_GT(countColor(grab(*card), card->rect(), Palette::dimText(), 2), 10);
    runTheRead();
    EXPECT_FALSE(card->isLookingSlowly());
    EXPECT_EQ(card->cardLines().at(0), "blob.xyzzy");

    card->setPath(other);
    runTheRead();
    executor.advance(1s);
    EXPECT_FALSE(card->isLookingSlowly());
}

// A name that says nothing leaves film or card to the first bytes, read on a
// reader thread: the card stands until they tell it is sound; a stale look
// is dropped once another file is shown.
TEST_F(PreviewCardLoad, ANamelessSoundIsToldByItsFirstBytesOnAReaderThread) {
    // The head of a RIFF WAVE file is all the type sniffing looks at.
    const QString sound =
        dir.makeFile("recording", QByteArray("RIFF\x24\0\0\0WAVEfmt ", 16) + QByteArray(64, '\0'));
    PreviewBodyView body(*state);
    const auto preview = [&](const QString& path) {
        state->viewerKind = ViewerContentKind::preview;
        state->editorURL = path;
        state->notifyChanged();
        QCoreApplication::processEvents();
    };
    preview(sound);
    EXPECT_EQ(body.kind(), PreviewBodyView::Kind::general)
        << "the file was read on the main thread";
    executor.runAll();
    EXPECT_EQ(body.kind(), PreviewBodyView::Kind::video);

    preview(blob);
    preview(sound);
    preview(blob);
    executor.runAll();
    EXPECT_EQ(body.kind(), PreviewBodyView::Kind::general) << "a stale look was taken";
}

// Only a film whose name is not UTF-8 is opened by the view itself, by its
// bytes, and that on a reader thread.
TEST_F(PreviewCardLoad, AFilmNamedInBytesIsOpenedOnAReaderThread) {
    const QString film = TestDir::makeFileAt(toSystemPath(dir.path()) + "/bad\xff\xfe.wav");
    VideoPreviewView view(*state);
    view.setPath(film);
    EXPECT_TRUE(view.player()->source().isEmpty()) << "opened on the main thread";
    runTheRead();
    EXPECT_TRUE(view.player()->source().toLocalFile().startsWith("/proc/self/fd/"));
}

} // namespace
