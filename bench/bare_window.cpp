// The least that any window with a line edit and a list costs: what the palette's figures are compared with.
//
// Prints the lines that a measuring run reads, the same as the palette prints when VELMORA_MEASURE=1 is set, with times
// in nanoseconds of CLOCK_MONOTONIC:
//
//   measure show <ns>    asked to show the window
//   measure paint <ns>   a paint of the window has finished
//   measure key <ns>     a key press has arrived
//
// Takes "show", "hide" and "quit" on standard input, one a line. Starts shown.

#include <unistd.h>
#include <QApplication>
#include <QLineEdit>
#include <QListView>
#include <QSocketNotifier>
#include <QStringListModel>
#include <QVBoxLayout>
#include <ctime>
#include <iostream>
#include <string>

namespace {

void printMeasure(const char* what) {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    std::fprintf(stderr, "measure %s %lld\n", what,
                 static_cast<long long>(now.tv_sec) * 1'000'000'000 + static_cast<long long>(now.tv_nsec));
}

/// Sees every event on its way, so that a paint is reported once the whole window has been painted and handed over.
class MeasuredApplication final : public QApplication {
  public:
    using QApplication::QApplication;

    bool notify(QObject* receiver, QEvent* event) override {
        if (event->type() == QEvent::KeyPress && receiver->isWindowType()) printMeasure("key");
        if (event->type() == QEvent::Paint) painted_ = true;
        ++depth_;
        const bool handled = QApplication::notify(receiver, event);
        --depth_;
        if (depth_ == 0 && painted_) {
            painted_ = false;
            printMeasure("paint");
        }
        return handled;
    }

  private:
    int depth_ = 0;
    bool painted_ = false;
};

QStringList rows() {
    QStringList rows;
    for (int i = 1; i <= 61; ++i)
        rows << QStringLiteral("Row %1").arg(i);
    return rows;
}

}  // namespace

int main(int argc, char** argv) {
    MeasuredApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);

    QWidget window(nullptr, Qt::Window | Qt::FramelessWindowHint);
    window.setAttribute(Qt::WA_TranslucentBackground);
    window.setWindowTitle(QStringLiteral("Velmora Bare Window"));
    window.resize(700, 510);
    QLineEdit edit;
    edit.setAccessibleName(QStringLiteral("Text"));
    QListView list;
    QStringListModel model(rows());
    list.setModel(&model);
    QVBoxLayout layout(&window);
    layout.addWidget(&edit);
    layout.addWidget(&list);
    QObject::connect(&edit, &QLineEdit::textChanged, &model, [&] { model.setStringList(rows()); });

    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &window, [&] {
        std::string line;
        if (!std::getline(std::cin, line) || line == "quit") {
            input.setEnabled(false);
            QApplication::quit();
        } else if (line == "show") {
            printMeasure("show");
            window.show();
            window.activateWindow();
            edit.setFocus();
        } else if (line == "hide") {
            window.hide();
        }
    });

    window.show();
    edit.setFocus();
    return QApplication::exec();
}
