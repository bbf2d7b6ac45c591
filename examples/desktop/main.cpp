/// desktop: a window that shows this machine's network. It shows how the library's threads meet a
/// GTK main loop: the window belongs to one thread, work goes to others (background.h).

#include "main_window.h"

#include <cstdlib>
#include <gtkmm/application.h>
#include <iostream>
#include <memory>

int main(int argc, char** argv) {
  if (!std::getenv("HOME")) {
    std::cerr << "desktop: HOME is not set\n";
    return 2;
  }
  lng::setFromLocale(); // before there is another thread
  const auto application = Gtk::Application::create("org.example.qivcommon.Desktop");
  std::unique_ptr<MainWindow> window;
  application->signal_activate().connect([&] {
    if (!window) {
      window = std::make_unique<MainWindow>();
      application->add_window(*window);
    }
    window->present();
  });
  application->set_accel_for_action("win.refresh", "F5");
  application->set_accel_for_action("win.log", "<Primary>l");
  application->set_accel_for_action("win.language", "<Primary>e");
  application->set_accel_for_action("win.close", "<Primary>w");
  return application->run(argc, argv);
}
