' Prints a line for each slot, and below it what sits there:
'
'   cscript //nologo slots.vbs
Option Explicit

Dim services, bridges, slot, link, card, state

Set services = GetObject("winmgmts:{impersonationLevel=impersonate}!\\.\root\VKQ")
' The bridges first: they decide whether a hot-plug slot reads as powered.
bridges = services.InstancesOf("Velk_PCIBridge").Count

For Each slot In services.InstancesOf("Velk_PCISlot")
    state = "off"
    If slot.PoweredOn Then state = "on"
    WScript.Echo slot.Number & vbTab & slot.Tag & vbTab & state
    ' An association's references are paths, which Get understands.
    For Each link In services.InstancesOf("Velk_PCICardInSlot")
        If services.Get(link.Antecedent).Tag = slot.Tag Then
            Set card = services.Get(link.Dependent)
            WScript.Echo vbTab & card.Tag
        End If
    Next
Next
