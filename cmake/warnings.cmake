# Compiler settings that every target of this project shares: call dkom_compile_options(target).

function(dkom_compile_options target)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wconversion
        # Paths in assertion reports and trace records do not depend on where the tree was checked out.
        -ffile-prefix-map=${CMAKE_SOURCE_DIR}/=)
    if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        # GCC 12 sees overlapping copies inside std::string's own operator+.
        target_compile_options(${target} PRIVATE -Wno-restrict)
    endif()
    if(DKOM_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    if(DKOM_SANITIZE)
        target_compile_options(${target} PRIVATE
            -fsanitize=${DKOM_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g)
        target_link_options(${target} PRIVATE -fsanitize=${DKOM_SANITIZE})
        if(DKOM_SANITIZE MATCHES undefined AND CMAKE_CXX_COMPILER_ID STREQUAL Clang)
            # What stands in for a missing entry point is called as any of them would be, and does not return.
            target_compile_options(${target} PRIVATE -fno-sanitize=function)
        endif()
    endif()
endfunction()
