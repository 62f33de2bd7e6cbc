' Prints the instance that a path leads to, or says why there is none:
'
'   cscript //nologo get-instance.vbs "Velk_PCICard.CreationClassName='Velk_PCICard',Tag='PCI Card 2'"
Option Explicit

Dim locator, services, instance

If WScript.Arguments.Count <> 1 Then
    WScript.Echo "usage: get-instance.vbs PATH"
    WScript.Quit 2
End If
Set locator = CreateObject("WbemScripting.SWbemLocator")
Set services = locator.ConnectServer(".", "root\VKQ")

On Error Resume Next
Set instance = services.Get(WScript.Arguments(0))
If Err.Number <> 0 Then
    WScript.Echo "error 0x" & Hex(Err.Number)
    WScript.Quit 1
End If
On Error Goto 0
WScript.Echo instance.GetObjectText_
