# find_package(vl_bf_pd 0.1 [COMPONENTS vl_bf_pd_default vl_driver_model vl_velmar_switch_pipeline vl_pd_console]): a
# component is a library. Each one that is installed is a target in the namespace vl_bf_pd.
include(${CMAKE_CURRENT_LIST_DIR}/vl_bf_pd-library.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/vl_bf_pd-driver.cmake OPTIONAL)
include(${CMAKE_CURRENT_LIST_DIR}/vl_bf_pd-console.cmake OPTIONAL)

foreach(component IN LISTS vl_bf_pd_FIND_COMPONENTS)
    if(TARGET vl_bf_pd::${component})
        set(vl_bf_pd_${component}_FOUND TRUE)
    elseif(vl_bf_pd_FIND_REQUIRED_${component})
        set(vl_bf_pd_FOUND FALSE)
        set(vl_bf_pd_NOT_FOUND_MESSAGE "The component ${component} isn't installed.")
    endif()
endforeach()
