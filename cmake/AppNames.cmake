# The names the app is known by to the desktop, the session bus, the panels' extensions and the
# package, spelled here and nowhere else. C++ reads them from the generated base/AppNames.h; the
# desktop entry, bus service, listing, Plasma applet and GNOME Shell extension are configured
# from them; `eval "$(cmake -P cmake/AppNames.cmake)"` gives them to the scripts.

# The desktop entry's id, which is also the Wayland app_id, the X11 class and the listing's id.
set(MIREO_APP_ID com.mireo.Pulse)
# D-Bus activation starts the entry whose id is the bus name.
set(MIREO_BUS_NAME ${MIREO_APP_ID})
set(MIREO_OBJECT_PATH /com/mireo/Pulse)
# What the panels read: the title and its look, versioned after the bus name.
set(MIREO_STATE_INTERFACE ${MIREO_BUS_NAME}1)
# Owned by a shell extension while it shows the title itself.
set(MIREO_PANEL_TITLE_NAME ${MIREO_BUS_NAME}.PanelTitle)
# The command, the X11 instance name, the icon and the package are named alike.
set(MIREO_EXECUTABLE mireo-pulse)
set(MIREO_KEYCHAIN_HELPER ${MIREO_EXECUTABLE}-keychain)
set(MIREO_ICON_NAME ${MIREO_EXECUTABLE})
set(MIREO_URL_SCHEME mireopulse)
set(MIREO_PLASMOID_ID com.mireo.pulse)
set(MIREO_GNOME_EXTENSION_UUID pulse@mireo.com)
# Where QSettings keeps the settings: the file under $XDG_CONFIG_HOME.
set(MIREO_SETTINGS_ORGANISATION mireo)
set(MIREO_SETTINGS_APPLICATION pulse)
set(MIREO_SETTINGS_FILE ${MIREO_SETTINGS_ORGANISATION}/${MIREO_SETTINGS_APPLICATION}.conf)

if(CMAKE_SCRIPT_MODE_FILE STREQUAL CMAKE_CURRENT_LIST_FILE)
  get_cmake_property(variables VARIABLES)
  list(FILTER variables INCLUDE REGEX "^MIREO_")
  set(assignments "")
  foreach(variable ${variables})
    string(APPEND assignments "${variable}=${${variable}}\n")
  endforeach()
  execute_process(COMMAND ${CMAKE_COMMAND} -E echo_append "${assignments}")
elseif(NOT CMAKE_SCRIPT_MODE_FILE)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/AppNames.h.in
                 ${PROJECT_BINARY_DIR}/generated/app-names/base/AppNames.h @ONLY)
  add_library(mireo_app_names INTERFACE)
  target_include_directories(mireo_app_names INTERFACE ${PROJECT_BINARY_DIR}/generated/app-names)
endif()
