// Whether a .doc, .docx or .rtf is a document for the converter or plain
// text is told by its first bytes, read on a reader thread: VIEWER says it
// is loading until the look is back, and a look that comes back after the
// cursor moved on is dropped.
#include "support/SteppedStateFixture.h"

namespace {

class DocumentSniff : public SteppedStateFixture {
protected:
    void SetUp() override {
        plain = dir.makeFile("letter.doc", "Dear reader, this is plain text.\n");
        styled = dir.makeFile("styled.rtf", "{\\rtf1\\ansi {\\b Bold} words.\\par}");
        start();
    }
    // Only the look at the first bytes runs: what follows it stays waiting.
    void runTheLook() {
        ASSERT_EQ(executor.nextPool(), Background::Pool::diskRead);
        ASSERT_TRUE(executor.runNext());
    }

    QString plain;
    QString styled;
};

TEST_F(DocumentSniff, TheFirstBytesAreReadOnAReaderThreadBeforeTheKindIsShown) {
    for (const QString& path : {plain, styled}) {
        SCOPED_TRACE(path.toStdString());
        executor.runAll();
        state->loadViewerContent(path);
        EXPECT_TRUE(state->isViewerLoading);
        EXPECT_EQ(state->viewerKind, ViewerContentKind::none) << "decided on the main thread";
        EXPECT_FALSE(state->isExtractedTextPreview);
        runTheLook();
        EXPECT_EQ(state->viewerKind, ViewerContentKind::text);
        EXPECT_EQ(state->isExtractedTextPreview, path == styled);
        EXPECT_TRUE(state->isViewerLoading) << "the text load follows the look";
    }
}

// The bytes are those on the disk when the reader gets to them, not when
// the cursor came: a .doc that became a styled document meanwhile goes to
// the converter.
TEST_F(DocumentSniff, TheBytesAreReadByTheReaderNotWhenAsked) {
    executor.runAll();
    state->loadViewerContent(plain);
    dir.makeFile("letter.doc", "{\\rtf1\\ansi Now styled.\\par}");
    runTheLook();
    EXPECT_TRUE(state->isExtractedTextPreview);
}

TEST_F(DocumentSniff, ALookThatComesBackAfterTheCursorMovedOnIsDropped) {
    executor.runAll();
    state->loadViewerContent(styled);
    state->loadViewerContent(plain);
    runTheLook();
    EXPECT_EQ(state->editorURL, plain);
    EXPECT_EQ(state->viewerKind, ViewerContentKind::none);
    EXPECT_FALSE(state->isExtractedTextPreview);
    runTheLook();
    EXPECT_EQ(state->viewerKind, ViewerContentKind::text);
    EXPECT_FALSE(state->isExtractedTextPreview);
}

} // namespace
