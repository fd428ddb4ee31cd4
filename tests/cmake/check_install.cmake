# Installs the build into a scratch prefix and checks what the desktop needs landed in place.
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE "${PREFIX}")
execute_process(COMMAND ${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${PREFIX}"
                RESULT_VARIABLE result OUTPUT_QUIET)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "cmake --install failed: ${result}")
endif()
foreach(path bin/mireo-pulse share/applications/com.mireo.Pulse.desktop
             share/dbus-1/services/com.mireo.Pulse.service
             share/icons/hicolor/scalable/apps/mireo-pulse.svg)
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
# The bus starts the installed binary, by the name the entry's file carries.
file(STRINGS "${PREFIX}/share/dbus-1/services/com.mireo.Pulse.service" service)
foreach(line "Name=com.mireo.Pulse" "Exec=${PREFIX}/bin/mireo-pulse")
  if(NOT line IN_LIST service)
    message(FATAL_ERROR "the installed bus service lacks ${line}")
  endif()
endforeach()
file(REMOVE_RECURSE "${PREFIX}")
