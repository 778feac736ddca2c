# qbt2_options: what every target of ours is compiled and linked with. Each links it itself, privately:
# who uses our libraries gets neither our warnings nor our sanitizers. Third-party headers come in as system
# headers and stay silent. Warnings are errors only where CMAKE_COMPILE_WARNING_AS_ERROR says so.
add_library(qbt2_options INTERFACE)
target_compile_options(qbt2_options INTERFACE -Wall -Wextra -Wconversion)
if(QBT2_SANITIZE)
  target_compile_options(qbt2_options INTERFACE -fsanitize=${QBT2_SANITIZE} -fno-omit-frame-pointer
                         -fno-sanitize-recover=all)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Instrumented std::function and std::regex look uninitialised to it (its bug 105562); the plain
    # builds keep the warning.
    target_compile_options(qbt2_options INTERFACE -Wno-maybe-uninitialized)
  endif()
  target_link_options(qbt2_options INTERFACE -fsanitize=${QBT2_SANITIZE})
endif()
