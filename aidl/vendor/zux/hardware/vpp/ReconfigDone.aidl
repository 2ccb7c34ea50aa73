// Event sent when a reconfiguration of the ports has taken effect, or was refused.
package vendor.zux.hardware.vpp;

import vendor.zux.hardware.vpp.VppError;
import vendor.zux.hardware.vpp.VppPortParam;

@VintfStability
parcelable ReconfigDone {
    VppError status;
    VppPortParam inputParam;
    VppPortParam outputParam;
}
