# Which Qt is built with. What CMake has to know about the differences between its major versions
# stands here: the names of its targets, packages and files.

set(VELKOR_QT 5 CACHE STRING "Qt major version to build with (4, 5 or 6)")
set_property(CACHE VELKOR_QT PROPERTY STRINGS 4 5 6)
if(NOT VELKOR_QT MATCHES "^[456]$")
    message(FATAL_ERROR "VELKOR_QT is \"${VELKOR_QT}\"; right is 4, 5 or 6")
endif()

if(VELKOR_QT EQUAL 4)
    if(VELKOR_TOOLS)
        message(FATAL_ERROR
            "The tools and the host layer need Qt 5 or newer. With Qt 4 the driver alone is built: "
            "give -DVELKOR_TOOLS=OFF as well, or use the preset qt4.")
    endif()
    # CMake's own module. Distributions have it no more: QT_QMAKE_EXECUTABLE says where it is.
    find_package(Qt4 4.8 REQUIRED COMPONENTS QtCore)
    set(VELKOR_QT_CORE Qt4::QtCore)
    set(VELKOR_QT_COMPONENT_PREFIX Qt)   # find_package(Qt4 COMPONENTS QtCore)
    set(VELKOR_QT_PKGCONFIG_PREFIX Qt)   # QtCore.pc
    set(VELKOR_QT_LIBRARY_PREFIX libQt)  # libQtCore.so.4
else()
    find_package(Qt${VELKOR_QT} REQUIRED COMPONENTS Core)
    if(VELKOR_TOOLS)
        find_package(Qt${VELKOR_QT} REQUIRED COMPONENTS Network)
    endif()
    set(VELKOR_QT_CORE Qt${VELKOR_QT}::Core)
    set(VELKOR_QT_COMPONENT_PREFIX)
    set(VELKOR_QT_PKGCONFIG_PREFIX Qt${VELKOR_QT})
    set(VELKOR_QT_LIBRARY_PREFIX libQt${VELKOR_QT})
endif()

# The driver is held to C++11, the floor of the panels' tool chains; Qt 6's headers need C++17.
if(VELKOR_QT EQUAL 6)
    set(VELKOR_LIBRARY_STANDARD 17)
else()
    set(VELKOR_LIBRARY_STANDARD 11)
endif()
