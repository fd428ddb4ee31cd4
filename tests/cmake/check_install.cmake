# Installs the build into a scratch prefix and checks what the desktop needs landed in place.
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE "${PREFIX}")
execute_process(COMMAND ${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${PREFIX}"
                RESULT_VARIABLE result OUTPUT_QUIET)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "cmake --install failed: ${result}")
endif()
foreach(path bin/mireo-pulse libexec/mireo-pulse/mireo-pulse-keychain
             share/applications/com.mireo.Pulse.desktop
             share/dbus-1/services/com.mireo.Pulse.service
             share/icons/hicolor/scalable/apps/mireo-pulse.svg
             share/icons/hicolor/48x48/apps/mireo-pulse.png
             share/metainfo/com.mireo.Pulse.metainfo.xml)
  if(NOT EXISTS "${PREFIX}/${path}")
    message(FATAL_ERROR "not installed: ${path}")
  endif()
endforeach()
file(STRINGS "${PREFIX}/share/applications/com.mireo.Pulse.desktop" entry)
foreach(line "Exec=mireo-pulse %u" "MimeType=x-scheme-handler/mireopulse;" "Icon=mireo-pulse"
             "DBusActivatable=true")
  if(NOT line IN_LIST entry)
    message(FATAL_ERROR "the installed entry lacks ${line}")
  endif()
endforeach()
# Software centres join the listing to the menu entry by its id: the entry's file name.
file(READ "${PREFIX}/share/metainfo/com.mireo.Pulse.metainfo.xml" listing)
string(REGEX MATCH "<id>([^<]*)</id>" match "${listing}")
set(id "${CMAKE_MATCH_1}")
string(REGEX MATCH "<launchable type=\"desktop-id\">([^<]*)</launchable>" match "${listing}")
if(NOT EXISTS "${PREFIX}/share/applications/${id}.desktop" OR NOT CMAKE_MATCH_1 STREQUAL "${id}.desktop")
  message(FATAL_ERROR "the listing's id '${id}' and launchable '${CMAKE_MATCH_1}' name no installed entry")
endif()
# The bus starts the installed binary, by the name the entry's file carries.
file(STRINGS "${PREFIX}/share/dbus-1/services/com.mireo.Pulse.service" service)
foreach(line "Name=com.mireo.Pulse" "Exec=${PREFIX}/bin/mireo-pulse")
  if(NOT line IN_LIST service)
    message(FATAL_ERROR "the installed bus service lacks ${line}")
  endif()
endforeach()

# The Plasma applet: the root and metadata of the Plasma this build installs for, and the shared
# files beside them; the other root's metadata must name the same applet.
set(applet "${PREFIX}/share/plasma/plasmoids/com.mireo.pulse")
foreach(path metadata.json contents/ui/main.qml contents/ui/PulseState.qml
             contents/ui/PulsePanel.qml contents/ui/pulse.js)
  if(NOT EXISTS "${applet}/${path}")
    message(FATAL_ERROR "applet file not installed: ${path}")
  endif()
endforeach()
file(READ "${applet}/metadata.json" installed)
file(READ "${SOURCE_DIR}/data/plasma/plasma5/metadata.json" plasma5)
file(READ "${SOURCE_DIR}/data/plasma/plasma6/metadata.json" plasma6)
foreach(metadata installed plasma5 plasma6)
  string(JSON id GET "${${metadata}}" KPlugin Id)
  if(NOT id STREQUAL "com.mireo.pulse")
    message(FATAL_ERROR "${metadata} applet metadata names ${id}")
  endif()
endforeach()
string(JSON minimum ERROR_VARIABLE none GET "${plasma6}" X-Plasma-API-Minimum-Version)
string(JSON api ERROR_VARIABLE none GET "${plasma5}" X-Plasma-API)
if(NOT minimum STREQUAL "6.0" OR NOT api STREQUAL "declarativeappletscript")
  message(FATAL_ERROR "the applet's metadata does not say which Plasma runs it")
endif()
set(roots "" "" "" "" "" "Item {" "PlasmoidItem {")
list(GET roots ${PLASMA_MAJOR} wanted)
file(STRINGS "${applet}/contents/ui/main.qml" root REGEX "^(PlasmoidItem|Item) {$")
if(NOT installed STREQUAL plasma${PLASMA_MAJOR} OR NOT root STREQUAL wanted)
  message(FATAL_ERROR "the installed applet is not the one for Plasma ${PLASMA_MAJOR}")
endif()
file(REMOVE_RECURSE "${PREFIX}")
