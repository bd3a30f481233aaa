# The extension as one library. Its folders define methods of one shared class, so none of
# them links without the others; programs and tests link this.
add_library(extension STATIC)
set_target_properties(extension PROPERTIES LINKER_LANGUAGE CXX)
foreach(folder core enumeration content actions thumbnails collaboration containers)
  if(TARGET ${folder})
    target_link_libraries(extension PUBLIC ${folder})
  endif()
endforeach()
