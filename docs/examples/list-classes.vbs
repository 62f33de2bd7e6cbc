' Prints the instances of one or several classes, as WMI writes them:
'
'   cscript //nologo list-classes.vbs Velk_PCISlot Velk_PCICard
Option Explicit

Dim services, index, instance

Set services = GetObject("winmgmts:{impersonationLevel=impersonate}!\\.\root\VKQ")
For index = 0 To WScript.Arguments.Count - 1
    For Each instance In services.InstancesOf(WScript.Arguments(index))
        WScript.Echo instance.GetObjectText_
    Next
Next
