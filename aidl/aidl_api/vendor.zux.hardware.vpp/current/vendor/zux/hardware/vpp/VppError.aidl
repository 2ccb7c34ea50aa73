// Snapshot of the interface vendor.zux.hardware.vpp made by scripts/device_build.py from the .aidl
// sources: declarations only. A frozen version never changes once shipped.
package vendor.zux.hardware.vpp;
@VintfStability
@Backing(type="int")
enum VppError {
    VPP_OK = 0,
    VPP_ERR = 1,
    VPP_PENDING = 2,
    VPP_ERR_STATE = 3,
    VPP_ERR_INVALID_CFG = 4,
    VPP_ERR_PARAM = 5,
    VPP_ERR_NO_MEM = 6,
    VPP_ERR_RESOURCES = 7,
    VPP_ERR_HW = 8,
    VPP_ERR_FATAL = 9,
}
