# Helpers that give every subsystem folder the same shape.
#
# zev_subsystem(NAME DEPS ...) builds the folder's sources (found by glob, so a new
# module needs no CMake edit) as the object library zev_NAME and a link check
# zev_NAME_linkcheck: a shared object made of the folder's objects and those of
# its allowed dependencies only, linked with --no-undefined.
set(ZEV_ALL_SUBSYSTEMS "" CACHE INTERNAL "")

function(zev_subsystem name)
  cmake_parse_arguments(Z "" "" "DEPS;LIBS" ${ARGN})
  file(GLOB_RECURSE _srcs CONFIGURE_DEPENDS
       ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/*.c)
  list(FILTER _srcs EXCLUDE REGEX "/(stub_[^/]*|load_hook/[^/]*)$")
  if(NOT _srcs)
    set(_srcs ${PROJECT_SOURCE_DIR}/cmake/empty.cpp)
  endif()
  set(_t zev_${name})
  add_library(${_t} OBJECT ${_srcs})
  target_include_directories(${_t} PUBLIC
      $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
      $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/include>
      PRIVATE ${CMAKE_CURRENT_SOURCE_DIR} ${PROJECT_SOURCE_DIR})
  target_compile_definitions(${_t} PRIVATE ZEVUTIL_BUILDING=1)
  foreach(_d ${Z_DEPS})
    target_link_libraries(${_t} PUBLIC zev_${_d})
  endforeach()
  if(Z_LIBS)
    target_link_libraries(${_t} PUBLIC ${Z_LIBS})
  endif()
  set_property(GLOBAL APPEND PROPERTY ZEV_SUBSYSTEM_LIST ${name})
  set_property(GLOBAL PROPERTY ZEV_DEPS_${name} ${Z_DEPS})
  set_property(GLOBAL PROPERTY ZEV_LIBS_${name} ${Z_LIBS})
endfunction()

# All transitive dependencies of a subsystem (itself included).
function(zev_closure name out)
  set(_seen ${name})
  set(_todo ${name})
  while(_todo)
    list(POP_FRONT _todo _n)
    get_property(_deps GLOBAL PROPERTY ZEV_DEPS_${_n})
    foreach(_d ${_deps})
      if(NOT _d IN_LIST _seen)
        list(APPEND _seen ${_d})
        list(APPEND _todo ${_d})
      endif()
    endforeach()
  endwhile()
  set(${out} ${_seen} PARENT_SCOPE)
endfunction()

function(zev_add_library_targets)
  get_property(_subs GLOBAL PROPERTY ZEV_SUBSYSTEM_LIST)
  set(_objs "")
  set(_libs Threads::Threads)
  foreach(_s ${_subs})
    list(APPEND _objs $<TARGET_OBJECTS:zev_${_s}>)
    get_property(_l GLOBAL PROPERTY ZEV_LIBS_${_s})
    list(APPEND _libs ${_l})
    # Link check: this folder's objects with its allowed dependencies only.
    zev_closure(${_s} _cl)
    set(_cobjs "")
    set(_clibs Threads::Threads)
    foreach(_c ${_cl})
      list(APPEND _cobjs $<TARGET_OBJECTS:zev_${_c}>)
      get_property(_l2 GLOBAL PROPERTY ZEV_LIBS_${_c})
      list(APPEND _clibs ${_l2})
    endforeach()
    add_library(zev_${_s}_linkcheck SHARED ${_cobjs})
    target_link_libraries(zev_${_s}_linkcheck PRIVATE ${_clibs})
    target_link_options(zev_${_s}_linkcheck PRIVATE -Wl,--no-undefined)
    if(ZEVUTIL_SANITIZE)
      # Sanitizer runtimes are resolved by the executable, not the shared object.
      target_link_options(zev_${_s}_linkcheck PRIVATE -Wl,--unresolved-symbols=ignore-in-object-files)
      set_target_properties(zev_${_s}_linkcheck PROPERTIES EXCLUDE_FROM_ALL ON)
    endif()
  endforeach()
  list(REMOVE_DUPLICATES _libs)
  set(_hook ${PROJECT_SOURCE_DIR}/frame/load_hook/ModuleLoadHook.cpp)

  # The module load hook comes last, so that its constructor runs after every
  # global object of the library has been built.
  add_library(zevutil SHARED ${_objs} ${_hook})
  add_library(zevutil_static STATIC ${_objs} ${_hook})
  foreach(_t zevutil zevutil_static)
    target_include_directories(${_t} PUBLIC
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
        $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/include>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    target_include_directories(${_t} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${_t} PRIVATE ${_libs})
    target_compile_features(${_t} PUBLIC cxx_std_20)
    set_target_properties(${_t} PROPERTIES OUTPUT_NAME zevutil EXPORT_NAME zevutil)
  endforeach()
  set_target_properties(zevutil_static PROPERTIES EXPORT_NAME zevutil_static)
  target_link_libraries(zevutil_static INTERFACE ${_libs})
  # A static link keeps the load hook only if something asks for it.
  target_link_options(zevutil_static INTERFACE "LINKER:--undefined=zev_module_load_hook")
  set_target_properties(zevutil PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  # Calls inside the library bind to its own functions at link time: fewer symbols for
  # the loader to look up through every library a program loads (GTK brings many).
  target_link_options(zevutil PRIVATE -Wl,--no-undefined -Wl,-Bsymbolic-functions)
  if(ZEVUTIL_SANITIZE)
    target_link_options(zevutil PRIVATE -Wl,--unresolved-symbols=ignore-in-object-files)
  endif()
  add_library(ZevUtil::zevutil ALIAS zevutil)
  add_library(ZevUtil::zevutil_static ALIAS zevutil_static)
endfunction()

function(zev_install_rules)
  include(CMakePackageConfigHelpers)
  install(TARGETS zevutil zevutil_static EXPORT ZevUtilTargets
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
          ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
          RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/zevutil DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(EXPORT ZevUtilTargets NAMESPACE ZevUtil:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ZevUtil)
  configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/ZevUtilConfig.cmake.in
      ${PROJECT_BINARY_DIR}/ZevUtilConfig.cmake
      INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ZevUtil)
  write_basic_package_version_file(${PROJECT_BINARY_DIR}/ZevUtilConfigVersion.cmake
      VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
  install(FILES ${PROJECT_BINARY_DIR}/ZevUtilConfig.cmake ${PROJECT_BINARY_DIR}/ZevUtilConfigVersion.cmake
          DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ZevUtil)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/zevutil.pc.in ${PROJECT_BINARY_DIR}/zevutil.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/zevutil.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()

# zev_folder_tests(folder): one GoogleTest binary for tests/<folder>/*.cpp.
function(zev_folder_tests folder)
  file(GLOB _srcs CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
  if(NOT _srcs)
    return()
  endif()
  set(_t zev_${folder}_tests)
  add_executable(${_t} ${_srcs} ${CMAKE_CURRENT_SOURCE_DIR}/common/ScratchDir.cpp)
  target_link_libraries(${_t} PRIVATE zevutil GTest::gtest GTest::gmock GTest::gtest_main Threads::Threads)
  target_include_directories(${_t} PRIVATE ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  target_compile_definitions(${_t} PRIVATE
      ZEV_SOURCE_DIR="${PROJECT_SOURCE_DIR}"
      ZEV_SHARED_DIR="${ZEVUTIL_SHARED_DIR}"
      ZEV_BINARY_DIR="${PROJECT_BINARY_DIR}")
  gtest_discover_tests(${_t} DISCOVERY_TIMEOUT 60
      PROPERTIES LABELS ${folder} ENVIRONMENT "ZEV_TEST_TMP=${PROJECT_BINARY_DIR}/testtmp")
endfunction()
