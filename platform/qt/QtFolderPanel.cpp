#include "platform/qt/QtFolderPanel.h"

#include "core/Assert.h"
#include "core/async/Completion.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QGridLayout>
#include <QLabel>
#include <QPointer>

namespace velmora {
namespace {

QFileDialog* makePanel(const FolderPanelRequest& request) {
    auto* const panel = new QFileDialog(QApplication::activeWindow());
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setWindowModality(Qt::WindowModal);
    panel->setOption(QFileDialog::DontUseNativeDialog);
    panel->setOption(QFileDialog::ShowDirsOnly);
    panel->setFileMode(QFileDialog::Directory);
    panel->setWindowTitle(QString::fromStdString(request.title));
    panel->setLabelText(QFileDialog::Accept, QString::fromStdString(request.prompt));
    panel->setDirectory(QFile::decodeName(request.startFolder.c_str()));
    if (auto* const layout = qobject_cast<QGridLayout*>(panel->layout())) {
        auto* const message = new QLabel(QString::fromStdString(request.message));
        message->setTextFormat(Qt::PlainText);
        message->setWordWrap(true);
        layout->addWidget(message, layout->rowCount(), 0, 1, layout->columnCount());
    }
    return panel;
}

}  // namespace

Task<std::optional<std::string>> QtFolderPanel::chooseFolder(FolderPanelRequest request) {
    VELMORA_ASSERT_MAIN();
    co_await throwIfCancelled();
    const auto chosen = std::make_shared<std::optional<std::string>>();
    QPointer<QFileDialog> panel;
    const auto open = [&](const Completion<>& closed) {
        panel = makePanel(request);
        QObject::connect(panel, &QFileDialog::finished, panel, [chosen, raw = panel.data()](int result) {
            const QStringList paths = raw->selectedFiles();
            if (result == QDialog::Accepted && !paths.isEmpty())
                *chosen = QFile::encodeName(paths.front()).toStdString();
        });
        // Whichever way it goes, its parent taking it along included.
        QObject::connect(panel, &QObject::destroyed, [closed] { closed.fulfil(); });
        panel->open();
        panel->raise();
        panel->activateWindow();
    };
    const auto close = [&panel] {
        if (panel) panel->close();
    };
    co_await Completion<>::await(open, close);
    co_await throwIfCancelled();
    co_return *chosen;
}

}  // namespace velmora
