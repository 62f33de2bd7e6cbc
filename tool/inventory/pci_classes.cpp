#include "tool/inventory/pci_classes.h"

#include <iterator>

namespace velkpci {

std::string PciClassName(std::uint32_t baseClass) {
    constexpr const char* kNames[] = {"Unclassified",
                                      "Mass storage",
                                      "Network",
                                      "Display",
                                      "Multimedia",
                                      "Memory",
                                      "Bridge",
                                      "Communication",
                                      "System peripheral",
                                      "Input",
                                      "Docking station",
                                      "Processor",
                                      "Serial bus",
                                      "Wireless",
                                      "Intelligent I/O",
                                      "Satellite communication",
                                      "Encryption",
                                      "Signal processing",
                                      "Accelerator",
                                      "Instrumentation"};
    constexpr std::uint32_t kCoprocessor = 0x40;
    if (baseClass == kCoprocessor) return "Coprocessor";
    return baseClass < std::size(kNames) ? kNames[baseClass] : "";
}

}  // namespace velkpci
