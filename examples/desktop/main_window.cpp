#include "main_window.h"

#include "../common/hosts.h"
#include "../common/log_folder.h"
#include "texts.h"

#include <giomm/appinfo.h>
#include <glibmm/convert.h>
#include <gtkmm/entry.h>
#include <limits>

namespace {

constexpr unsigned int lookMilliseconds = 2000;
constexpr int longestHost = 253;
constexpr unsigned int never = std::numeric_limits<unsigned int>::max();

Qiv::Result getLogResult() {
  if (QivLog::LogObject::getLostEntries() == 0)
    return true;
  return Qiv::LogicError::create(texts::lostEntries());
}

/// The button does the action, and is disabled with it.
void bind(Gtk::Button& button, const char* action) {
  gtk_actionable_set_action_name(GTK_ACTIONABLE(button.gobj()), action);
}

} // namespace

MainWindow::MainWindow() : log(getLogFolder()) {
  addActions();
  addWidgets();
  connectModel();
  showTexts();
  showHosts(loadHosts());
  watchNetwork();
  stopwatch.start();
  hostBox.get_entry()->grab_focus();
}

void MainWindow::addActions() {
  pingAction = add_action("ping", sigc::mem_fun(*this, &MainWindow::pingHost));
  add_action("refresh", [this] { monitor.wake(); });
  add_action("log", sigc::mem_fun(*this, &MainWindow::openLog));
  add_action("language", sigc::mem_fun(*this, &MainWindow::switchLanguage));
  add_action("close", [this] { close(); });
  bind(logButton, "win.log");
  bind(languageButton, "win.language");
  bind(pingButton, "win.ping");
  hostBox.get_entry()->signal_activate().connect([this] { pingAction->activate(); });
}

void MainWindow::addWidgets() {
  header.set_show_close_button();
  header.pack_start(logButton);
  header.pack_end(languageButton);
  set_titlebar(header);

  failureBar.set_message_type(Gtk::MESSAGE_ERROR);
  failureBar.set_no_show_all();
  failureLabel.set_line_wrap();
  failureLabel.show();
  dynamic_cast<Gtk::Container&>(*failureBar.get_content_area()).add(failureLabel);

  for (auto& cell : cells) {
    columns.add(cell);
    const int count = table.append_column("", cell);
    table.get_column(count - 1)->set_expand();
  }
  rows = Gtk::ListStore::create(columns);
  table.set_model(rows);
  scroller.add(table);

  hostBox.get_entry()->set_max_length(longestHost);
  pingBox.property_margin() = 6;
  pingBox.pack_start(hostBox, Gtk::PACK_SHRINK);
  pingBox.pack_start(pingButton, Gtk::PACK_SHRINK);
  pingBox.pack_start(answerLabel, Gtk::PACK_SHRINK);
  pingBox.pack_end(timeLabel, Gtk::PACK_SHRINK);

  content.pack_start(failureBar, Gtk::PACK_SHRINK);
  content.pack_start(scroller);
  content.pack_start(pingBox, Gtk::PACK_SHRINK);
  add(content);
  set_default_size(720, 260);
  show_all_children();
}

void MainWindow::connectModel() {
  connections.connect(&monitor, monitor.signalDone.connect([this](const Look& found) {
    look = found;
    showNetwork();
  }));
  connections.connect(&pinger, pinger.signalDone.connect([this](const Answer& given) {
    answer = given;
    pingAction->set_enabled();
    showAnswer();
    showHosts(rememberHost(given.host));
  }));
  connections.connect(
      &stopwatch, stopwatch.signalTimeChanged.connect(sigc::mem_fun(*this, &MainWindow::showTime)));
}

void MainWindow::pingHost() {
  const std::string host = hostBox.get_entry_text();
  if (isHost(host)) {
    answer.reset();
    pingAction->set_enabled(false); // one ping at a time
    pinger.start([host] { return ping(host); }, never);
  } else {
    answer = {host, false};
  }
  showAnswer();
}

void MainWindow::openLog() {
  try {
    Gio::AppInfo::launch_default_for_uri(Glib::filename_to_uri(log._getLogPath()));
    logOpened = true;
  } catch (const Glib::Error& error) {
    logOpened = Qiv::LogicError::create(texts::noLog(), Qiv::LogicError::create(error.what()));
  }
  showFailures();
}

/// The language is a plain byte, so no thread that reads it may run meanwhile. A ping does not read
/// it and goes on.
void MainWindow::switchLanguage() {
  monitor.stop();
  lng::language = lng::language ? 0 : 1;
  showTexts();
  watchNetwork();
}

void MainWindow::watchNetwork() {
  monitor.start(&lookAtNetwork, lookMilliseconds);
}

void MainWindow::showTexts() {
  header.set_title(texts::title());
  logButton.set_label(texts::log());
  languageButton.set_label(texts::otherLanguage());
  pingButton.set_label(texts::pingButton());
  hostBox.get_entry()->set_placeholder_text(texts::host());
  const auto titles = texts::columns();
  for (int i = 0; i < static_cast<int>(titles.size()); ++i)
    table.get_column(i)->set_title(titles[i]);
  timeLabel.set_text(texts::running(shownSeconds));
  showAnswer();
}

/// Rows that stay as they are keep their selection.
void MainWindow::showNetwork() {
  if (const std::vector<Row> now = getRows(look); now != shownRows) {
    shownRows = now;
    rows->clear();
    for (const Row& row : now) {
      const Gtk::TreeRow shown = *rows->append();
      for (std::size_t i = 0; i < row.size(); ++i)
        shown[cells[i]] = row[i];
      log.writeInfo(row[1] + " " + row[3]);
    }
  }
  showFailures();
}

void MainWindow::showAnswer() {
  answerLabel.set_text(answer && answer->answered ? texts::ping(answer->host, true) : "");
  showFailures();
}

void MainWindow::showFailures() {
  std::vector<Qiv::Result> results = {look.result, logOpened, getLogResult()};
  if (answer)
    results.push_back(getPingResult(answer->host, answer->answered));
  const Qiv::Result all = Qiv::ResultHelper::combineResults(results);
  const std::string failure =
      all ? "" : Qiv::ObjectErrorHelper::toDisplayString({all.getError()}, 0);
  if (failure == shownFailure)
    return;
  shownFailure = failure;
  failureLabel.set_text(failure);
  failureBar.set_visible(!all);
  if (!all)
    log.writeError(failure);
}

/// The newest host comes first.
void MainWindow::showHosts(const std::vector<std::string>& hosts) {
  hostBox.remove_all();
  for (const std::string& host : hosts)
    hostBox.prepend(host);
}

void MainWindow::showTime(float seconds) {
  const auto whole = static_cast<std::int64_t>(seconds);
  if (whole == shownSeconds)
    return;
  shownSeconds = whole;
  timeLabel.set_text(texts::running(whole));
}
