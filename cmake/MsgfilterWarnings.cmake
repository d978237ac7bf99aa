# Our own targets get the strict warning set and Qt's strictness defines; imported
# and third-party targets are left alone.
function(msgfilter_strict target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wnon-virtual-dtor -Woverloaded-virtual)
  if(MSGFILTER_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  target_compile_definitions(${target} PRIVATE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS QT_NO_FOREACH QT_USE_QSTRINGBUILDER)
endfunction()
