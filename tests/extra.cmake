# Tests that are no GoogleTest program.

# Files of ours read by Python's own property-list module and the reverse.
find_package(Python3 COMPONENTS Interpreter)
if(Python3_FOUND)
  add_executable(property_list_tool ${CMAKE_CURRENT_SOURCE_DIR}/interop/property_list_tool.cpp)
  marlune_private_flags(property_list_tool)
  target_link_libraries(property_list_tool PRIVATE marlune::whole)
  add_test(NAME interop.property_lists
    COMMAND Python3::Interpreter ${CMAKE_CURRENT_SOURCE_DIR}/interop/plist_check.py $<TARGET_FILE:property_list_tool>)
  set_tests_properties(interop.property_lists PROPERTIES TIMEOUT 120)
endif()
