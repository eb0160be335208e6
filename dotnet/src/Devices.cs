using System;
using System.Collections.Generic;
using Orvane.Native;

namespace Orvane
{
    /// <summary>The devices of this machine that can run models.</summary>
    public static class Devices
    {
        /// <summary>All devices. Each use asks OpenVINO again, which can take a second. Thread-safe.</summary>
        /// <exception cref="OrvaneException">OpenVINO failed.</exception>
        public static IReadOnlyList<Device> All
        {
            get
            {
                Library.Require();
                var devices = new List<Device>();
                var guard = new CallGuard();
                NativeMethods.DeviceCallback add = (user, name, fullName) => guard.Run(() =>
                {
                    devices.Add(new Device(Utf8.Decode(name), Utf8.Decode(fullName)));
                    return true;
                });
                guard.Check(NativeMethods.orvane_list_devices(add, IntPtr.Zero));
                GC.KeepAlive(add);
                return devices;
            }
        }
    }
}
