# What every folder's list uses: the float flags, the library settings and the shared generated files.

# The bits of a kernel's result depend on these flags; canary tests fail without them.
set(ARKO_FLOAT_FLAGS -ffp-contract=off -frounding-math -fno-math-errno)
set(ARKO_TIER_FLAGS -mssse3)

# The libraries need the C library and each other at run time, nothing of C++.
set(ARKO_LIBRARY_FLAGS -fvisibility=hidden -fno-exceptions -fno-rtti -fno-threadsafe-statics)

# Tables and the generated header are the same for every build tree: they are made once, beside the trees.
set(ARKO_GENERATED ${CMAKE_SOURCE_DIR}/build/generated)

# arko_library(name output soname-version): a shared library linked without the C++ run time.
function(arko_library target output)
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME ${output} SOVERSION 1 LINKER_LANGUAGE C
    BUILD_RPATH "$ORIGIN" INSTALL_RPATH "$ORIGIN" BUILD_WITH_INSTALL_RPATH ON)
  target_compile_options(${target} PRIVATE ${ARKO_LIBRARY_FLAGS})
  target_link_options(${target} PRIVATE -Wl,--as-needed -Wl,-z,now)
  if(NOT ARKO_SANITIZE)
    target_link_options(${target} PRIVATE -Wl,--no-undefined)
  endif()
endfunction()

# arko_generate(file tool): FILE below the generated folder, written by TOOL, a program of tools/. The rule depends on the
# tool and so on all that the tool is made of. A new tree runs it too, but leaves a file that is the same as it is, so
# that nothing in the other trees is built again; trees that are built at once write to files of their own first.
function(arko_generate file tool)
  set(result ${ARKO_GENERATED}/${file})
  get_filename_component(folder ${result} DIRECTORY)
  string(MD5 tree ${CMAKE_BINARY_DIR})
  add_custom_command(OUTPUT ${result}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
    COMMAND ${tool} ${result}.${tree}
    COMMAND ${CMAKE_COMMAND} -D FILE=${result} -D NEW=${result}.${tree} -P ${CMAKE_SOURCE_DIR}/cmake/replace.cmake
    DEPENDS ${tool} ${CMAKE_SOURCE_DIR}/cmake/replace.cmake
    COMMENT "Writing ${file}" VERBATIM)
endfunction()
