# Helpers shared by every layer, test and benchmark.

# Our own code builds with warnings as errors; Qt's and the system's headers are
# included as system headers, so their warnings never stop a build.
function(qm_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Werror
    -Wno-error=deprecated-declarations)
endfunction()

# qm_add_layer(<name> [SOURCES ...] DEPS ...): one static library per layer, includes rooted
# at src/. Without SOURCES it takes every .cpp of its folder (not main.cpp); a layer with no
# sources yet is an interface library.
function(qm_add_layer name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
  if(NOT ARG_SOURCES)
    file(GLOB ARG_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
    list(FILTER ARG_SOURCES EXCLUDE REGEX "/main\\.cpp$")
  endif()
  if(ARG_SOURCES)
    # The headers too, so moc sees the QObject interfaces that have no .cpp of their own.
    file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
    add_library(${name} STATIC ${ARG_SOURCES} ${headers})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${name} PUBLIC ${ARG_DEPS})
    qm_warnings(${name})
  else()
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${name} INTERFACE ${ARG_DEPS})
  endif()
endfunction()

# qm_add_test(<name> SOURCES ... DEPS ... [GUI] [LABELS ...]): one QtTest executable per unit.
# GUI tests run inside tests/support/session.sh: a private Xvfb and session bus.
function(qm_add_test name)
  cmake_parse_arguments(ARG "GUI" "TIMEOUT" "SOURCES;DEPS;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE Qt6::Test qm_testsupport ${ARG_DEPS})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  qm_warnings(${name})
  if(ARG_GUI)
    add_test(NAME ${name} COMMAND ${PROJECT_SOURCE_DIR}/tests/support/session.sh $<TARGET_FILE:${name}>)
  else()
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES ENVIRONMENT
      "QT_QPA_PLATFORM=offscreen;DBUS_SESSION_BUS_ADDRESS=disabled:")
  endif()
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 180)
  endif()
  set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS "${ARG_LABELS}")
endfunction()
