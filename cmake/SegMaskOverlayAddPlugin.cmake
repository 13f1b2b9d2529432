# seg_mask_add_plugin(name source...)
#
# The library lib<name>.so, which hosts open through class_loader: a module, so that nothing can link it, with no symbol of
# its own for others. One symbol of the binding "unique", which compilers give to exported inline variables, would keep the
# library mapped after a host has unloaded it.
#
# The installed package has this file too. SEG_MASK_PLUGIN_LINK_OPTIONS is what a build with sanitizers adds.
function(seg_mask_add_plugin name)
  set(_exports "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/plugin_exports.map")
  add_library(${name} MODULE ${ARGN})
  target_link_libraries(${name} PRIVATE class_loader::class_loader)
  target_link_options(${name} PRIVATE "-Wl,--version-script=${_exports}" ${SEG_MASK_PLUGIN_LINK_OPTIONS})
  set_target_properties(${name} PROPERTIES
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    LINK_DEPENDS "${_exports}")
endfunction()
