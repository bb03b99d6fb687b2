add_subdirectory(net)
