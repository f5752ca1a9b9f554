#pragma once

// Guest properties through which the plug-in reads and writes the device's values
// (documented in README.md). The device image sets the read-only ones at install time;
// the address is VirtualBox's own, set by the guest's network service at boot.
namespace GuestProperty {
constexpr char HardwareAcceleration[] = "/Calderwick/HardwareAcceleration";
constexpr char AndroidVersion[] = "/Calderwick/AndroidVersion";
constexpr char SystemVersion[] = "/Calderwick/SystemVersion";
constexpr char Platform[] = "/Calderwick/Platform";
constexpr char Dpi[] = "/Calderwick/Dpi";
constexpr char Resolution[] = "/Calderwick/Resolution";
constexpr char FullScreen[] = "/Calderwick/FullScreen";
constexpr char NavigationBarShown[] = "/Calderwick/NavigationBarShown";
constexpr char NavigationBarConfigured[] = "/Calderwick/NavigationBarConfigured";
// What all of the device's own properties begin with.
constexpr char DevicePrefix[] = "/Calderwick/";
constexpr char Address[] = "/VirtualBox/GuestInfo/Net/0/V4/IP";
} // namespace GuestProperty

// Time limits of the VBoxManage commands, in milliseconds: a hung tool is killed at its
// limit and the operation fails, so the player never waits forever.
namespace VBoxLimits {
// Queries and settings: showvminfo, guestproperty, list, modifyvm.
constexpr int QueryMs = 15000;
// state() and ip() are read on the player's main thread: they must give up sooner.
constexpr int MainThreadQueryMs = 5000;
// "startvm": VirtualBox powers the machine up before it returns.
constexpr int StartMs = 90000;
// "controlvm poweroff", and again the wait for the machine to reach "poweroff".
constexpr int StopMs = 30000;
// How long waitForIp() waits for the address, unless CALDERWICK_VBOX_IP_WAIT_MS says otherwise.
constexpr int IpWaitMs = 180000;
// Between two reads of the address while waiting for it.
constexpr int IpPollMs = 250;
} // namespace VBoxLimits
