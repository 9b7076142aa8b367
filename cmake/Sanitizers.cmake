# VEXIL_SANITIZE: a comma-separated list handed to -fsanitize (for example "address,undefined" or
# "thread"). Applies to every target, plug-ins included, so the whole process is instrumented.
set(VEXIL_SANITIZE "" CACHE STRING "Sanitizers to build with (address,undefined or thread)")
if(VEXIL_SANITIZE)
  add_compile_options(-fsanitize=${VEXIL_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VEXIL_SANITIZE})
endif()
