# Every target of this project builds without warnings.
add_compile_options(-Wall -Wextra)
option(VEXIL_WERROR "Treat warnings as errors" ON)
if(VEXIL_WERROR)
  add_compile_options(-Werror)
endif()
