"""The appliances, as data. The tables that qorx must print of them stand in the transcripts beside."""

from appliance import (Appliance, Onboard, Port, Slot, UsbPort, host_bridge, pci_bridge, root_port, switch,
                       switch_port, usb_controller)

RACK = Appliance(
    name="rack",
    bus_0=(
        Port("00:02.0", "00", "13fe:301a"),
        Port("00:03.0", "01", "13fe:3016"),
        usb_controller("00:14.0", UsbPort("0c")),
        root_port("00:1c.0",
                  Port("01:00.0", "02", "13fe:201a"),
                  Port("01:00.1", "03", "13fe:201a")),
        # A switch of three ports, the last one without a card.
        root_port("00:1c.1",
                  switch("02:00.0",
                         switch_port("03:00.0", Port("04:00.0", "04", "13fe:2045")),
                         switch_port("03:01.0", Port("05:00.0", "05", "13fe:2045")),
                         switch_port("03:02.0"))),
        # An old PCI card behind a bridge.
        root_port("00:1c.2",
                  pci_bridge("07:00.0", Port("08:01.0", "0a", card="e1000"))),
        root_port("00:1d.0",
                  Port("09:00.0", "06", "13fe:3008"),
                  Port("09:00.1", "07", "13fe:3008")),
        # Its interface hangs on a device below the PCI function.
        root_port("00:1d.1",
                  Port("0a:00.0", "0b", card="virtio-net-pci")),
        root_port("00:1d.2",
                  Port("0b:00.0", "08", "13fe:205d"),
                  Port("0b:00.1", "09", "13fe:205d")),
    ),
    records=(
        Slot("WMX Slot 1", "01:00.0"),
        Slot("SW Slot 2", "00:1c.1"),
        Slot("PCIE Slot 3", "07:00.0"),
        Slot("PCIE Slot 4", "09:00.0"),
        Slot("WMX Slot 5 (H.1.2.255)", "0b:00.0"),
        Slot("WMX Slot 6", "0c:00.0"),
        Slot("PCIE Slot 7", "0a:00.0"),
        Onboard("LAN1", "00:02.0"),
        Onboard("LAN2", "00:03.0"),
    ),
)

# 64 ports of 8 cards, and two ports deep below switches: the link of the one has 125 characters, of the other 138.
MANY = Appliance(
    name="many",
    bus_0=(
        *(root_port(f"00:10.{card}",
                    *(Port(f"{card + 1:02x}:00.{function}", f"{8 * card + function:02x}", "13fe:201a")
                      for function in range(8)))
          for card in range(8)),
        root_port("00:11.0",
                  switch("09:00.0",
                         switch_port("0a:00.0",
                                     switch("0b:00.0",
                                            switch_port("0c:00.0",
                                                        pci_bridge("0d:00.0", Port("0e:01.0", "41", card="e1000"))),
                                            switch_port("0c:01.0",
                                                        switch("0f:00.0",
                                                               switch_port("10:00.0",
                                                                           Port("11:00.0", "40", "13fe:3008")))))))),
    ),
    records=(
        *(Slot(f"WMX Slot {card + 1}", f"{card + 1:02x}:00.0") for card in range(8)),
        Slot("PCIE Slot 20", "0d:00.0"),
    ),
)

# Two host bridges. One slot has a port on each of them, and one on the second has a switch.
TWINS = Appliance(
    name="twins",
    bus_0=(
        host_bridge("00:05.0",
                    root_port("20:00.0", Port("21:00.0", "02", "13fe:0034")),
                    root_port("20:01.0",
                              switch("22:00.0",
                                     switch_port("23:00.0", Port("24:00.0", "03", "13fe:2045")))),
                    root_port("20:02.0", Port("25:00.0", "04", "13fe:3008"))),
        root_port("00:1c.0", Port("01:00.0", "00", "13fe:201a")),
        root_port("00:1c.1", Port("02:00.0", "01", "13fe:3008")),
    ),
    records=(
        Slot("WMX Slot 1", "01:00.0"),
        Slot("PCIE Slot 4", "02:00.0"),
        Slot("WMX Slot 2", "21:00.0"),
        Slot("SW Slot 3", "20:01.0"),
        Slot("PCIE Slot 4", "25:00.0"),
    ),
)
