#ifndef DESKTOP_MAIN_WINDOW_H
#define DESKTOP_MAIN_WINDOW_H

#include "background.h"
#include "network.h"

#include <giomm/simpleaction.h>
#include <gtkmm/applicationwindow.h>
#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/comboboxtext.h>
#include <gtkmm/headerbar.h>
#include <gtkmm/infobar.h>
#include <gtkmm/label.h>
#include <gtkmm/liststore.h>
#include <gtkmm/scrolledwindow.h>
#include <gtkmm/treeview.h>
#include <qiv/concurrency.h>
#include <qiv/log.h>

/// The window shows a state: the last look at the network, the last answer to a ping, the running
/// time. Whatever changes the state calls the show... function of its part. All of it happens in
/// the thread of the main loop, but for the two tasks in the background.
///
/// The actions "win.ping", "win.refresh", "win.log", "win.language" and "win.close" do what the
/// buttons do.
class MainWindow : public Gtk::ApplicationWindow {
public:
  MainWindow();

private:
  void addActions();
  void addWidgets();
  void connectModel();

  void pingHost();
  void openLog();
  void switchLanguage();
  void watchNetwork();

  void showTexts();
  void showNetwork();
  void showAnswer();
  void showFailures();
  void showHosts(const std::vector<std::string>& hosts);
  void showTime(float seconds);

  QivLog::LogObject log;
  Look look;
  std::optional<Answer> answer; ///< none before the first ping and during one
  Qiv::Result logOpened = true;
  std::vector<Row> shownRows;
  std::string shownFailure;
  std::int64_t shownSeconds = 0;

  Gtk::HeaderBar header;
  Gtk::Button logButton;
  Gtk::Button languageButton;
  Gtk::Box content{Gtk::ORIENTATION_VERTICAL};
  Gtk::InfoBar failureBar;
  Gtk::Label failureLabel;
  Gtk::ScrolledWindow scroller;
  Gtk::TreeModelColumnRecord columns;
  std::array<Gtk::TreeModelColumn<Glib::ustring>, std::tuple_size_v<Row>> cells;
  Glib::RefPtr<Gtk::ListStore> rows;
  Gtk::TreeView table;
  Gtk::Box pingBox{Gtk::ORIENTATION_HORIZONTAL, 6};
  Gtk::ComboBoxText hostBox{true};
  Gtk::Button pingButton;
  Gtk::Label answerLabel;
  Gtk::Label timeLabel;
  Glib::RefPtr<Gio::SimpleAction> pingAction;

  Background<Look> monitor;
  Background<Answer> pinger;
  Qiv::Secundomer stopwatch;
  Qiv::PointerConnectionsDispatcher connections; ///< goes first, so no slot outlives what it uses
};

#endif
