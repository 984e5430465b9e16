// The ">" of the tree rows: whether each folder has a subfolder is asked of
// a worker thread, since a folder of thousands of subfolders, or one on a
// dead mount, would hold the window; the rows show the answers as they come.
#include "core/AppState.h"

#include "search/TreeSession.h"

void AppState::askTreeSubfolders() {
    for (const auto& session : {pane(PaneSide::left).treeSession, pane(PaneSide::right).treeSession,
                                searchTreeBox.session}) {
        if (!session) {
            continue;
        }
        const bool showHidden = showHiddenFiles;
        const QStringList folders = session->takeSubfolderQuestions(showHidden);
        if (folders.isEmpty()) {
            continue;
        }
        const std::weak_ptr<TreeSession> asking = session;
        Background::run(
            m_executor, Background::Pool::diskRead, this,
            [folders, showHidden, asking] {
                // A tree that was closed meanwhile wants no more answers.
                return TreeSession::checkSubfolders(folders, showHidden,
                                                    [asking] { return !asking.expired(); });
            },
            [this, asking, showHidden](const QHash<QString, bool>& answers) {
                const auto session = asking.lock();
                if (session && session->noteSubfolderAnswers(answers, showHidden)) {
                    ++treeRevision;
                    notifyChanged();
                }
            });
    }
}
